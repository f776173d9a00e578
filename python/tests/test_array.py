import copy
import gc
import pickle
import re
import sys

import numpy as np
import pytest

import datastorage as ds
from datastorage._core import ELEMENT_TYPES

TYPES = list(ELEMENT_TYPES.values())


@pytest.mark.parametrize("dtype", TYPES, ids=str)
@pytest.mark.parametrize("shape", [(0,), (1,), (1000,), (0, 0), (3, 5)], ids=str)
def test_elements_of_every_type_go_in_and_out(dtype, shape):
    numbers = np.random.default_rng(1).integers(0, 100, shape).astype(dtype)
    for source in (numbers, numbers.astype(dtype.newbyteorder()), np.repeat(numbers, 2, axis=-1)[..., ::2]):
        a = ds.Array(source, offset=2.0, delta=0.5)
        for out in (
            a.numpy(),
            a.numpy(copy=True),
            np.asarray(a),
            pickle.loads(pickle.dumps(a)).numpy(),
            copy.copy(a).numpy(),
        ):
            assert out.dtype == dtype and out.shape == shape and (out == numbers).all()


def test_types_that_have_no_place_are_refused_by_name():
    for values in (
        np.array([1, 2]),
        np.array([1], "f2"),
        np.array([True]),
        np.array(["a"]),
        np.array([None]),
    ):
        with pytest.raises(TypeError, match=str(values.dtype).replace("<", "")):
            ds.Array(values)
    with pytest.raises(TypeError, match="int64"):
        ds.Array([1], dtype="int64")
    for values, dtype in (
        ([256], "ubin8"),
        ([-1], "u4"),
        ([1.5], "i2"),
        ([float("nan")], "i4"),
        (np.uint64([2**63]), "i4"),
    ):
        with pytest.raises(ValueError, match="cannot be stored"):
            ds.Array(values, dtype=dtype)
    with pytest.raises(TypeError):
        ds.Array([1j], dtype="f4")
    masked = np.ma.array([1.0, 2.0, 3.0], mask=[0, 1, 0])
    a = ds.Array(masked[::2])  # nothing is masked there
    for store in (ds.Array, lambda x: a.__setitem__(slice(0, 3), x), lambda x: a.__setitem__(0, x[1])):
        with pytest.raises(TypeError, match="masked"):
            store(masked)
    assert a.tolist() == [1, 3]
    for shape in ((), (1, 1, 1)):
        with pytest.raises(ValueError, match="dimensions"):
            ds.Array(np.zeros(shape))
    assert ds.Array([0, 2**32 - 1]).dtype == "u4" and ds.Array([-1, 5]).dtype == "i4"
    with pytest.raises(ValueError):
        ds.Array([-1, 2**32 - 1])


def test_a_view_is_a_snapshot_that_outlives_the_array():
    a = ds.Array(np.arange(100_000.0))
    view, address = a.numpy(), a.numpy().__array_interface__["data"][0]
    assert view.__array_interface__["data"][0] == address  # nothing was copied
    with pytest.raises(ValueError, match="read-only"):
        view[0] = 1
    with pytest.raises(ValueError):
        view.flags.writeable = True
    a[0] = 7.0
    a.set(8.0, 1.0)
    assert view[:2].tolist() == [0, 1] and a.numpy()[:2].tolist() == [7, 8]
    part = a.numpy()[5:7]
    del a, view
    gc.collect()
    assert part.tolist() == [5, 6]


def test_editing_keeps_everything_else_away():
    a = ds.Array(np.arange(6, dtype="f4"), delta=2.0)
    b, before = ds.Array([1.0]), a.numpy()
    with a.edit() as view:
        view *= 2
        refused = [
            lambda: a.numpy(),
            lambda: a[0],
            lambda: a.__setitem__(0, 1),
            lambda: a.set(1, 0.0),
            lambda: a.convert("f8"),
            lambda: a.merge(b),
            lambda: b.merge(a),
            lambda: a.select(0, 2),
            lambda: a.moved(1),
            lambda: a.rescale(1.0),
            lambda: a.copy(),
            lambda: pickle.dumps(a),
            lambda: np.asarray(a),
            lambda: a.edit().__enter__(),
        ]
        for operation in refused:
            with pytest.raises(BufferError, match="edited"):
                operation()
        assert a.at(2.0) == 2  # looking is free
    assert before.tolist() == [0, 1, 2, 3, 4, 5] and a.numpy().tolist() == [0, 2, 4, 6, 8, 10]
    with pytest.raises(ValueError):
        view[0] = 1
    with pytest.raises(ZeroDivisionError):
        with a.edit() as view:
            view[0] = 1 / 0
    with a.edit() as view:
        part, reshaped = view[2:], view.reshape(2, 3)
    part[:] = reshaped[0] = -1  # of blocks that belong to nobody any more
    assert a.numpy().tolist() == [0, 2, 4, 6, 8, 10]
    abandoned = a.edit().__enter__()
    with pytest.raises(ValueError):
        abandoned[0] = 1
    a[0] = 5.0
    with a.edit() as view:
        del a, part, reshaped
        gc.collect()
        assert view[0] == 5


@pytest.mark.parametrize(
    "dtype, value, widened",
    [
        ("u1", 200, "u1"),
        ("u1", 256, "i4"),
        ("u1", -1, "i4"),
        ("u2", np.int16(-1), "i4"),
        ("u4", -1, "f8"),
        ("i2", 1.5, "f8"),
        ("f4", 1, "f4"),
        ("f4", 2**24 + 1, "f8"),
        ("i4", 2**32, "f8"),
        ("f4", 1j, "c16"),
        ("c8", 0.5, "c16"),
        ("u4", np.float32(0.5), "f8"),
    ],
)
def test_what_is_stored_widens_the_type_and_loses_nothing(dtype, value, widened):
    limit = np.iinfo(dtype).max if np.dtype(dtype).kind in "iu" else 1
    numbers = np.array([limit, 0], dtype)
    for store in (lambda a: a.__setitem__(1, value), lambda a: a.set(value, 1.0)):
        a = ds.Array(numbers)
        store(a)
        assert a.numpy().tolist() == [limit, value] and a.dtype == widened
    listed, merged = ds.Array(numbers), ds.Array(numbers)
    if value != 2**32:  # a list of ints beyond 4 bytes needs a type
        listed[1:] = [value]
        merged.merge(ds.Array(np.array([value], getattr(value, "dtype", None)).tolist(), offset=1.0))
        assert listed.numpy().tolist() == merged.numpy().tolist() == [limit, value]


def test_numbers_of_numpy_are_stored_like_those_of_python():
    a = ds.Array([0, 0, 0, 0], dtype="u1")
    a[0], a[1], a[2:], a[3] = np.bool_(True), np.int64(7), np.array([8, 9]), np.array(5)
    assert a.tolist() == [1, 7, 8, 5] and a.dtype == "u1"
    a[[0, 2]] = np.array([True, False])
    for nothing in (lambda: a.__setitem__(slice(0, 0), []), lambda: a.__setitem__([], 300.5)):
        nothing()
    a.merge(ds.Array([]))
    assert a.tolist() == [1, 7, 0, 5] and a.dtype == "u1"
    with pytest.raises(ValueError):
        a[0:0] = [300, 2, 3]
    a[1:2] = np.array([70_000])
    assert a.tolist() == [1, 70_000, 0, 5] and a.dtype == "i4"
    half = ds.Array([0], dtype="f4")
    half[0] = np.float16(0.5)
    assert half.tolist() == [0.5] and half.dtype == "f4"
    with pytest.raises(ValueError, match="cannot be stored"):
        a[1:2] = np.array([2**40])


def test_operators_are_those_of_numpy():
    a, plane = ds.Array([1, 2, 3], offset=5.0), ds.Array(np.ones((2, 2)))
    for other in ([1, 5, 3], np.array([1, 5, 3]), ds.Array([1, 5, 3])):
        assert (a == other).tolist() == [True, False, True] and (a != other).tolist() == [False, True, False]
    assert (a > 1).tolist() == [False, True, True] and (a == a.copy()).all()
    for result in (2 + a * 2 - 1, a + (a + [1, 1, 1]), (3 - -a) / 2 * 2 + [-1, 0, 1], np.int64(1) + 2 * a):
        assert isinstance(result, np.ndarray) and result.tolist() == [3, 5, 7]
    assert (10**a // 2 % 7).tolist() == [5, 1, 3] and abs(-a).tolist() == [1, 2, 3]
    same = a
    a += 1
    a /= 4
    assert a is same and a.tolist() == [0.5, 0.75, 1] and a.range == (5, 8) and (a.size, plane.size) == (3, 4)
    with pytest.raises(TypeError):
        hash(a)
    with a.edit(), pytest.raises(BufferError):
        a + 1
    assert np.asarray(a, "f4").dtype == "f4" and a.__array__(copy=True).flags.writeable
    assert not a.__array__(copy=False).flags.writeable
    with pytest.raises(ValueError):
        a.__array__("f4", copy=False)


def test_old_pickle_protocols():
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        assert (pickle.loads(pickle.dumps(ds.Array([1, 2]), protocol)) == [1, 2]).all()
        with pytest.raises(TypeError):
            pickle.dumps(ds.Range(0, 1), protocol)
    make, *rest = ds.Array([1]).__reduce__()
    assert isinstance(make(*rest[0]), ds.Array)


def test_what_fails_changes_nothing_and_keeps_no_reference():
    a, b = ds.Array([1, 2, 3], dtype="u2", offset=1.0), ds.Array(np.zeros((2, 2)))
    falling, word = ds.Array([1, 2], delta=-1.0), "no number " * 2
    fails = [
        (lambda: a.__setitem__(9, 0.5), IndexError),
        (lambda: a.__setitem__(0, word), TypeError),
        (lambda: a.__setitem__(slice(0, 2), [1.5, 2, 3]), ValueError),
        (lambda: a.set(word, 1.0), TypeError),
        (lambda: a.set(0.5, float("nan")), ValueError),
        (lambda: a.set(0.5, 1e300), Exception),
        (lambda: a.set(2**70 + 1, 1.0), ValueError),
        (lambda: falling.set(0.5, 5.0), IndexError),
        (lambda: a.at(99.0), IndexError),
        (lambda: a.at((1, 1)), TypeError),
        (lambda: b.at(1.0), TypeError),
        (lambda: b.at((5, 0)), IndexError),
        (lambda: a.at(1.0, interpolation="cubic"), ValueError),
        (lambda: a.select(0, 1, cells="all"), ValueError),
        (lambda: a.select(0, 1e300), Exception),
        (lambda: a.convert("i8"), TypeError),
        (lambda: a.convert("f4", complex="half"), ValueError),
        (lambda: a.rescale(-1.0), ValueError),
        (lambda: a.merge(b), TypeError),
        (lambda: b.rescale((1, 1), origin=0.0), TypeError),
        (lambda: setattr(a, "calibration", ((1, 1), 1, 1)), TypeError),
        (lambda: ds.Array([1], offset=(0, 0)), TypeError),
        (lambda: ds.Array(word), TypeError),
        (lambda: falling.at(0.0, interpolation="linear"), ValueError),
    ]
    state = a.numpy(copy=True), a.calibration, a.range
    watched = [a, b, falling, word, ds.Error, np.dtype("u2")]

    def run():
        for operation, error in fails:
            with pytest.raises(error):
                operation()

    for _ in range(3):  # caches fill
        run()
    gc.collect()
    counts = [sys.getrefcount(x) for x in watched]
    for _ in range(20):
        run()
    gc.collect()
    assert [sys.getrefcount(x) for x in watched] == counts
    assert (a.numpy() == state[0]).all() and a.dtype == "u2" and (a.calibration, a.range) == state[1:]


INF, NAN = float("inf"), float("nan")


@pytest.mark.parametrize("p", [INF, -INF, NAN, 3e9, -3e9, 1e300])
def test_positions_out_of_reach_are_refused_by_name(p):
    a, plane = ds.Array([1, 2, 3]), ds.Array(np.ones((2, 3)))
    for call in (
        *(
            lambda cells=cells: a.select(2, p, cells=cells)
            for cells in ("inner", "outer", "nearest", "innerstart")
        ),
        lambda: a.select(p, 3),
        lambda: a.select(p, p),
        lambda: plane.select((0, 0), (1, p)),
        lambda: a.merge(ds.Array([9], offset=p)),
        lambda: plane.merge(ds.Array([[9]], offset=(0, p))),
        lambda: a.rescale(0.5, origin=p),
        lambda: a.set(5, p),
        lambda: plane.set(5, (p, 0)),
        lambda: a.moved(p) if abs(p) != 3e9 and p != 1e300 else a.select(p, p),
    ):
        with pytest.raises(ValueError, match=re.escape(repr(p))):
            call()
    assert a.tolist() == [1, 2, 3] and a.range == (0, 3) and plane.size == 6
    with pytest.raises(IndexError):
        a.at(p)
    with pytest.raises(ValueError):
        a.select(-2e9, 2e9)


def _cells(a, low, high, rule):
    """The indices that an interval selects by a rule, one by one; of a falling axis as in a mirror."""
    offset, delta, index = a.calibration
    sign, chosen = (-1 if delta < 0 else 1), []
    low, high = sorted((sign * low, sign * high))
    for i in range(-40, 40):
        begin = sign * (offset + (i - index) * delta)
        end = begin + abs(delta)
        first = {"inner": low <= begin, "outer": low < end, "nearest": low < (begin + end) / 2}
        last = {"inner": end <= high, "outer": begin < high, "nearest": (begin + end) / 2 < high}
        if (
            first["inner" if rule == "innerstart" else rule]
            and last["outer" if rule == "innerstart" else rule]
        ):
            chosen.append(i)
    return chosen


@pytest.mark.parametrize("delta", [0.5, -0.5, 2.0, -2.0])
@pytest.mark.parametrize("rule", ["inner", "outer", "nearest", "innerstart"])
def test_selections_along_rising_and_falling_axes(delta, rule):
    random = np.random.default_rng(3)
    a = ds.Array([1, 2, 3, 4, 5], offset=1.0, delta=delta, index=2)
    plane = ds.Array(np.add.outer([10, 20], [1, 2, 3, 4, 5]), dtype="i4", offset=1.0, delta=delta, index=2)
    for low, high in [(1, 1 + delta / 2), (1.1, 1.1 + delta / 4), *random.integers(-30, 30, (40, 2)) / 8]:
        if low == high:
            continue
        indices = _cells(a, low, high, rule)
        selected = a.select(low, high, cells=rule)
        assert selected.tolist() == [i + 1 if 0 <= i < 5 else 0 for i in indices], (low, high)
        if indices:
            assert np.allclose(selected.positions, 1 + (np.array(indices) - 2) * delta)
        both = plane.select((low, low), (high, high), cells=rule)
        inside = [[10 * j + i + 11 if 0 <= i < 5 and 0 <= j < 2 else 0 for i in indices] for j in indices]
        assert both.tolist() == inside and both.shape == (len(indices),) * 2
        if indices:
            assert np.allclose(both.positions, [selected.positions] * 2)


def test_values_between_elements():
    for offset, delta, p in (
        (1.7e9, 1.0, 1.7e9 - 2.4e-7),
        (0.0, 1e6, -0.5),
    ):  # rounding: before the first one
        a = ds.Array([5.0, 6, 7], offset=offset, delta=delta)
        assert a.at(p) == a.at(p, interpolation="linear") == 5
    for dtype in ("c8", "c16"):
        a = ds.Array(np.array([1j, 2], dtype), delta=2.0)
        assert a.at(0.5, interpolation="linear") == 0.5 + 0.75j and a.at(3.5, interpolation="linear") == 2
    with pytest.raises(ValueError, match="halfway"):
        ds.Array([1, 2, 3]).merge(ds.Array([7, 8, 9], offset=0.5))
    for offset, merged in ((0.49, [7, 8, 3]), (0.51, [1, 7, 8]), (-0.51, [7, 8, 2, 3])):
        a = ds.Array([1, 2, 3])
        a.merge(ds.Array([7, 8], offset=offset))
        assert a.tolist() == merged


def test_positions_and_selections_in_two_dimensions():
    a = ds.Array(np.arange(6, dtype="f4").reshape(2, 3), offset=(10, 20), delta=(1, 2), index=(0, 1))
    assert a.range == ((10, 18), (13, 22)) and a.positions[1].tolist() == [18, 20]
    assert a.at((12.5, 21)) == 5 and a.select((11, 20), (13, 22)).numpy().tolist() == [[4, 5]]
    assert a.moved((1, -1)).range == ((11, 17), (14, 21)) and a.rescale((0.5, 2)).shape == (2, 6)
    a[1, 0] = 99
    a[0, ::2] = [-1, -2]
    assert a.numpy().tolist() == [[-1, 1, -2], [99, 4, 5]] and a.dtype == "f4"
    a.calibration = ((0, 0), (1, 1), (0, 0))
    assert a.at((0, 1)) == 99
    for drawn in (a, ds.Array([1, 2]), ds.Array([]), ds.Array([np.nan, np.inf]), ds.Array([1j])):
        assert "datastorage.Array" in drawn._repr_html_()
