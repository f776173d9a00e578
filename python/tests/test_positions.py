import gc
import weakref

import numpy as np
import pytest

import datastorage as ds

# Each class, a value that is taken, another one, and the value when nothing was given.
KINDS = [
    (ds.Position, 1.0, 2.0, 7.0),
    (ds.Position2D, (1.0, 2.0), (3.0, 4.0), (0.0, 0.0)),
    (ds.Range, (1.0, 2.0), (3.0, 5.0), (0.0, 0.0)),
    (ds.Range2D, (1.0, 2.0, 3.0, 4.0, 0.5), (0.0, 1.0, 2.0, 3.0, 0.0), (0.0,) * 5),
    (ds.PositionList, [(1.0, 2.0), (3.0, 4.0)], [(5.0, 6.0), (0.0, 0.0)], []),
]


@pytest.mark.parametrize("kind, first, second, nothing", KINDS)
def test_functions_accept_change_and_refuse(kind, first, second, nothing):
    sender, heard = kind() if kind is not ds.Position else kind(nothing), []
    assert sender.value == nothing
    answer = []

    @sender.on_change
    def offered(new, old):
        heard.append(("offered", new, old))
        return answer[0] if answer else None

    @sender.on_changed
    def announced(new, old):
        heard.append(("changed", new, old))

    sender.value = first
    assert (
        sender.value == first
        and heard[0] == ("offered", first, nothing)
        and heard[-1] == ("changed", first, nothing)
    )
    answer[:] = [False]
    sender.value = second
    assert sender.value == first
    answer[:] = [second]
    sender.value = nothing or [(9.0, 9.0), (8.0, 8.0)]
    assert sender.value == second
    answer[:] = [np.bool_(False)]
    sender.value = first
    assert sender.value == second
    answer[:] = [np.bool_(True)]
    sender.value = first
    assert sender.value == first
    answer[:] = ["nonsense"]
    sender.remove(offered)
    sender.value = second
    sender.on_change(offered)
    with pytest.raises(TypeError, match="returns None"):
        sender.value = first
    assert sender.value == second
    sender.remove(offered)
    sender.value = first
    assert sender.value == first
    with pytest.raises(ValueError):
        sender.remove(offered)


@pytest.mark.parametrize("kind, first, second, nothing", KINDS)
def test_exceptions_reach_the_caller_and_functions_may_remove_themselves(kind, first, second, nothing):
    sender = kind()
    sender.value = first

    class Veto(Exception):
        pass

    def refuse(new, old):
        sender.remove(refuse)
        gc.collect()
        raise Veto(new)

    sender.on_change(refuse)
    with pytest.raises(Veto):
        sender.value = second
    assert sender.value == first
    sender.value = second
    assert sender.value == second


@pytest.mark.parametrize("kind, first, second, nothing", KINDS)
def test_functions_that_refer_to_their_sender_are_collected(kind, first, second, nothing):
    class Owner:
        def __init__(self):
            self.sender = kind()
            self.sender.on_change(self.limit)
            self.sender.on_changed(lambda new, old: self)

        def limit(self, new, old):
            return None

    owner = Owner()
    owner.sender.value = first
    dead = weakref.ref(owner)
    del owner
    gc.collect()
    assert dead() is None


def test_ranges_and_their_centres():
    visible = ds.Range(10, 0)
    assert visible.value == (0, 10) and 5 in visible and 11 not in visible
    visible.size = 4
    visible.center = 10
    assert (visible.start, visible.end) == (8, 12)
    visible.on_change(lambda new, old: (new[0] + 1, new[1] + 1))  # never content
    with pytest.raises(ds.Error):
        visible.value = 0, 1
    assert visible.value == (8, 12)
    turned = ds.Range2D((0, 0), (2, 2), 0.78)
    assert (0, 1.3) in turned and (0.9, 0.9) not in turned
    # What one function changes the others see, those before it too.
    shared = ds.Range(0, 1)
    seen = []
    shared.on_change(lambda new, old: seen.append(new))
    shared.on_change(lambda new, old: (new[0], min(new[1], 5)))
    shared.on_change(lambda new, old: True)
    shared.value = 2, 9
    assert shared.value == (2, 5) and seen == [(2, 9), (2, 5)]
    figure = ds.PositionList([(0, 0), (4, 2)])
    figure.on_change(lambda new, old: len(new) == len(old))
    figure.center = 3, 3
    longer = figure.on_change(lambda new, old: new + [(0, 0)])
    with pytest.raises(ValueError, match="number of positions"):
        figure.center = 9, 9
    figure.remove(longer)
    figure.append((7, 7))
    assert list(figure) == figure.value
    assert figure.value == [(1, 2), (5, 4), (7, 7)] and len(figure) == 3
