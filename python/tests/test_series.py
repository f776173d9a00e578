import datetime
import errno
import gc
import multiprocessing
import os
import pickle
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import datastorage as ds

ROW = [ds.Dim("x", "um", 1000, 0.0, 0.5)]
STORED = ["u1", "u2", "u4", "i2", "i4", "f4", "f8"]


def make(path, data, dims=ROW, **tags):
    with ds.create(path, dims, ndim=np.ndim(data[0])) as s:
        for i, datum in enumerate(data):
            s.append(datum if isinstance(datum, ds.Array) else ds.Array(datum), time=i, **tags)
    return ds.open(path)


@pytest.mark.parametrize("dtype", STORED)
@pytest.mark.parametrize("shape", [(1,), (7,), (5000,), (200_000,), (3, 4), (300, 400)], ids=str)
def test_what_is_stored_comes_back(dtype, shape):
    data = np.random.default_rng(0).integers(0, 100, (9, *shape)).astype(dtype)
    s = make("s.dseries", data)
    assert all((s[i].numpy() == data[i]).all() and s[i].dtype == dtype for i in range(9))
    for key in (slice(None), slice(2, 7), slice(None, None, -2), [3, 3, 8, 0], np.arange(9) % 3 == 0, [], -1):
        expected = data[np.atleast_1d(np.asarray(key, int)) if isinstance(key, (int, list)) else key]
        for values in (s.values(key), s.values(key, same_axes=True)):
            assert values.dtype == dtype and values.shape == expected.shape and (values == expected).all()
            assert values.flags.owndata and values.flags.writeable
    assert s.head(-1) == (dtype, shape, s[0].calibration)
    if len(shape) == 2:
        assert s.ndim == 2 and s[2:4][1].shape == shape


def test_blocks_hold_equal_data_only():
    equal = [np.full(100, i, "u2") for i in range(50)]
    for other, text in (
        (np.zeros(101, "u2"), "datum 50 holds 101 elements of ubin16, datum 0 100"),
        (np.zeros(100, "i2"), "sbin16"),  # of the same size in bytes
        (np.zeros(50, "u4"), "50 elements of ubin32"),
    ):
        s = make("unequal.dseries", [*equal, other, *equal])
        with pytest.raises(ValueError, match=text):
            s.values()
        assert s.values(slice(0, 50)).sum() == 49 * 50 * 50 and s[50].dtype == other.dtype
        os.remove("unequal.dseries")
    s = make("moved.dseries", [*equal, ds.Array(equal[0], offset=1.0)])
    assert s.values().shape == (51, 100)
    with pytest.raises(ValueError, match="datum 50 has other axes"):
        s.values(same_axes=True)
    empty = make("empty.dseries", [np.zeros(0, "f4")] * 3)
    assert empty.values().shape == (3, 0) and ds.create("none.dseries", ROW).values().shape == (0, 0)


def test_data_are_chosen_like_elements_of_numpy():
    dims = [ds.Dim("x", "um", 4, 10.0, 2.0), ds.Dim("", "", 3, 0.0, 1.0, 1, True)]
    with ds.create("grid.dseries", dims) as s:
        for k in range(10):
            s.append([k], time=k)
        assert (
            s.shape == (4, 3)
            and list(s.coords) == ["x", "dim_1"]
            and s.coords["dim_1"].tolist() == [-1, 0, 1]
        )
        assert s.dims == ds.open("grid.dseries").dims == tuple(dims) and len(s) == 10
        grid = (
            np.arange(12).reshape(3, 4)[::-1].T
        )  # the last dimension is acquired from its highest index down
        for x in range(4):
            for y in range(3):
                for i in ((x, y), (x - 4, y - 3)):
                    if grid[x, y] < 10:
                        assert s[i].numpy()[0] == grid[x, y]
                        assert s.at(x=10 + 2 * x, dim_1=y - 1).numpy()[0] == grid[x, y]
                    else:
                        with pytest.raises(IndexError, match="no datum yet: 10 of 12"):
                            s[i]
        # In the order of the keys, the first dimension fastest, without the slots that are not filled.
        for keys in (
            (slice(None), 1),
            (1, slice(None)),
            (slice(3, 0, -2), [2, 0]),
            ([0, 3], np.arange(3) > 0),
        ):
            x, y = (np.atleast_1d(np.arange(n)[k]) for n, k in zip((4, 3), keys))
            expected = grid[np.ix_(x, y)].T.ravel()
            expected = expected[expected < 10].tolist()
            assert s[keys].indices.tolist() == expected == s.values(keys)[:, 0].tolist()
        import pandas
        import xarray

        for key in (
            range(3),
            pandas.Index([0, 1, 2]),
            xarray.DataArray([0, 1, 2]),
            np.array([0, 1, 2], "u1"),
        ):
            assert s[key].indices.tolist() == [0, 1, 2]
        assert s[xarray.DataArray(3)].numpy()[0] == 3
        with pytest.raises(IndexError, match="one dimension"):
            s[2:][0, 1]
        for part in (s[100:], s[5:1], s[[]], s[2:][[]]):
            assert part.tags.dtype.names == ("time",) and part.tags.shape == part.indices.shape == (0,)
        assert [d.numpy()[0] for d in s[-3:][::-1]] == [9, 8, 7] and s[2:9][[0, -1]].tags["time"].astype(
            int
        ).tolist() == [2, 8]
        assert s.nearest(x=13.1, dim_1=0.2) == 6 and s.nearest(time=6.4) == 6 and s.find(time=7) == 7
        for key, error in (
            (10, IndexError),
            (-11, IndexError),
            ((0,), IndexError),
            ((4, 0), IndexError),
            ("x", TypeError),
            ([10], IndexError),
            ([0.5], TypeError),
            (None, TypeError),
            ([[0, 1], [2, 3]], IndexError),
        ):
            with pytest.raises(error):
                s[key]
        for call in (
            lambda: s.at(x=1),
            lambda: s.at(x=10, y=0),
            lambda: s.find(time=77),
            lambda: s.find(position=(0, 0)),
            lambda: s.nearest(x=1),
        ):
            with pytest.raises(KeyError):
                call()
        with pytest.raises(IndexError, match="outside dimension x"):
            s.at(x=18.1, dim_1=0)


def test_tags_are_times_and_places():
    times = [
        0,
        5.9,
        "2024-02-29T12:00:00",
        np.datetime64("2024-02-29"),
        datetime.datetime(2024, 2, 29, tzinfo=datetime.timezone.utc),
        2**31 - 1,
    ]
    seconds = [0, 5, 1709208000, 1709164800, 1709164800, 2**31 - 1]
    with ds.create("tags.dseries", ROW) as s:
        for i, time in enumerate(times):
            s.append([i], time=time, position=(i, -i))
            assert s.tags["time"].astype(int).tolist() == seconds[: i + 1]
        assert s.tags["y"].tolist() == [0, -1, -2, -3, -4, -5]
        assert s.find(time="2024-02-29") == 3 and s.find(time="2024-02-29", position=(4, -4)) == 4
        assert s.nearest(x=3.4, y=-3.4) == 3 and s.nearest(time=2**31 - 9) == 5
        with pytest.raises(ValueError, match="tags"):
            s.append([1])  # without a place
        for time in (2**31, -(2**31) - 1, 1e300):
            with pytest.raises(ValueError, match="no room"):
                s.append([1], time=time, position=(0, 0))
        for time in ("NaT", "", "1700000000", float("nan"), float("inf")):
            for call in (lambda: s.append([1], time=time, position=(0, 0)), lambda: s.nearest(time=time)):
                with pytest.raises(ValueError, match="is not a time"):
                    call()
        for time in (np.timedelta64(5), np.bool_(True), [1], {}):
            with pytest.raises(TypeError, match="a time is"):
                s.append([1], time=time, position=(0, 0))
        for position in (1, (1,), "ab", (1, 2, 3)):
            with pytest.raises(TypeError, match="pair of numbers"):
                s.append([1], position=position)
        assert len(s) == 6
        with pytest.raises(KeyError):
            s.find(time=10**20)
    with ds.create("time.dseries", [ds.Dim("time", "s", 4, 0.0, 10.0)]) as s:
        for i in range(4):
            s.append([i], time=5)
        assert s.nearest(time=19) == 2 and s.at(time=19).numpy() == 1  # the dimension, for both


def test_times_of_every_kind(monkeypatch):
    import decimal

    import pandas
    import xarray

    monkeypatch.setenv("TZ", "America/New_York")
    time.tzset()
    try:
        cases = [
            ("2024-02-29T12:00Z", 1709208000),
            ("2024-02-29 12:00:00.25-05:30", 1709227800),
            (pandas.Timestamp("2024-01-01"), 1704067200),  # as numpy.datetime64
            (pandas.Timestamp("2024-01-01", tz="America/New_York"), 1704085200),
            (datetime.datetime(2024, 1, 1), 1704085200),
            (datetime.date(2024, 1, 1), 1704067200),
            (pandas.Timestamp("1969-12-31T23:59:59.999999999"), -1),
            (xarray.DataArray(np.datetime64("2024-01-01", "ns")), 1704067200),
            (np.array(7), 7),
            (decimal.Decimal("-0.5"), -1),
            (np.float32(2.5), 2),
        ]
        with ds.create("s.dseries", ROW) as s:
            for given, expected in cases:
                s.append([1], time=given)
                assert s.tags["time"][-1].astype(int) == expected, given
    finally:
        monkeypatch.undo()
        time.tzset()


def test_what_cannot_be_appended_changes_nothing():
    s = ds.create("s.dseries", [ds.Dim("x", "um", 2)])
    reader = ds.open("s.dseries")
    for datum, error in (
        ([1j], TypeError),
        (np.zeros(1, "i1"), TypeError),
        (np.zeros((1, 1), "f4"), ValueError),
        ("text", TypeError),
    ):
        with pytest.raises(error):
            s.append(datum)
    with pytest.raises(OSError) as caught:
        reader.append([1])
    assert caught.value.errno == errno.EBADF and caught.value.filename == reader.path
    a = ds.Array([1.0, 2.0])
    with a.edit(), pytest.raises(BufferError):
        s.append(a)
    assert s.append(a) == 0 and s.append(a) == 1
    with pytest.raises(IndexError, match="full"):
        s.append(a)
    assert len(reader) == 0 and reader.refresh() == 2 and ds.check("s.dseries").whole == 2
    with pytest.raises(FileExistsError):
        ds.create("s.dseries", ROW)
    with pytest.raises(BlockingIOError, match="locked by process"):
        ds.open("s.dseries", "a")
    with pytest.raises(BlockingIOError):
        ds.create("s.dseries", ROW, overwrite=True)
    s.close()
    assert len(ds.open("s.dseries", "a")) == 2


def test_a_full_disk_is_an_error_of_the_system():
    with pytest.raises(ValueError, match="2 GiB, has no room"):
        ds.create("large.dseries", [ds.Dim("x", "um", 2**28)])
    limited = """if True:
        import resource, datastorage as ds
        s = ds.create("s.dseries", [ds.Dim("x", "um", 100)])
        resource.setrlimit(resource.RLIMIT_FSIZE, (20000, 20000))
        try:
            ds.create("large.dseries", [ds.Dim("x", "um", 10_000)])
        except OSError as error:
            print(error.errno)
        try:
            for i in range(100): s.append([0.0] * 1000, time=i)
        except OSError as error:
            print(error.errno, error.filename == s.path, len(s), len(s.values()))
        try:
            s.labels = {"title": 30000 * "T"}
        except OSError as error:
            print(error.errno, error.filename == s.path + ".json")
    """
    out = subprocess.run([sys.executable, "-c", limited], capture_output=True, text=True)
    assert out.stdout == f"{errno.EFBIG}\n{errno.EFBIG} True 2 2\n{errno.EFBIG} True\n", out.stderr
    assert not os.path.exists("large.dseries")
    assert ds.check("s.dseries").whole == 2


def test_files_that_cannot_be_opened():
    os.mkdir("folder")
    os.mkfifo("pipe")
    open("text", "w").write("no series")
    for path, error in (
        ("none", FileNotFoundError),
        ("folder", IsADirectoryError),
        ("pipe", ds.Error),
        ("text", ds.Error),
        ("a\0b", ValueError),
    ):
        for attempt in (ds.open, lambda p: ds.open(p, "a"), ds.check):
            with pytest.raises(error):
                attempt(path)
    for wrong in (
        (0, 0.0, 1.0),
        (1, 0.0, 0.0),
        (1, 0.0, -1.0),
        (1, float("nan"), 1.0),
        (2**31 - 1, 0.0, 1.0),
    ):
        with pytest.raises((ValueError, ds.Error)):
            ds.create("wrong.dseries", [ds.Dim("x", "um", *wrong)] * 2)
    for wrong in ((None, "", 1), ("x", "um", 3.0), ("x", "um", 3, None), ("x", "um", 3, 0.0, 1.0, 0.5)):
        with pytest.raises(TypeError, match="text|integer|number"):
            ds.create("wrong.dseries", [ds.Dim(*wrong)])
    assert not os.path.exists("wrong.dseries")
    for path in ("none/s.dseries", "text/s.dseries"):
        with pytest.raises(OSError):
            ds.create(path, ROW)
    name = os.fsdecode(b"caf\xe9.dseries")  # no UTF-8
    make(name, [[1]]).close()
    assert (
        ds.open(os.fsencode(name)).path.endswith(name)
        and ds.open(__import__("pathlib").Path(name))[0].numpy() == 1
    )
    with pytest.raises(FileExistsError):
        ds.create(name, ROW)


def test_a_file_that_is_cut_or_damaged_while_it_is_open():
    data = np.arange(60_000, dtype="f8").reshape(20, 3000)
    s = make("s.dseries", data)
    size = os.path.getsize("s.dseries")
    os.truncate("s.dseries", size // 2)
    whole = 0
    for i in range(20):
        try:
            assert (s[i].numpy() == data[i]).all()
            whole += 1
        except ds.Error as error:
            assert f"datum {i} of" in str(error)
    assert 8 <= whole <= 10 and (s.values(slice(0, 8)) == data[:8]).all()
    for attempt in (s.values, lambda: s.values([3, 19]), lambda: s.tags):
        with pytest.raises(ds.Error, match="cannot be read|read tag"):
            attempt()
    assert ds.check("s.dseries").faults
    with open("s.dseries", "r+b") as file:  # the extent of datum 2 becomes negative
        place = file.read().index(data[2].tobytes())
        file.seek(place - 4)
        file.write(b"\xff\xff\xff\xff")
    for attempt in (lambda: s[2], lambda: s.values(slice(0, 4)), lambda: s.values([2])):
        with pytest.raises(ds.Error, match="datum 2"):
            attempt()


def test_a_file_that_is_replaced_or_removed_while_it_is_open():
    s = make("s.dseries", np.zeros((3, 10)))
    make("new.dseries", np.ones((5, 10)))
    os.replace("new.dseries", "s.dseries")
    assert (s.values() == 0).all() and len(s) == 3 and s.tags.shape == (3,)
    assert s.refresh() == 5 and (s.values() == 1).all() and s.tags.shape == (5,)
    with ds.create("s.dseries", ROW, overwrite=True) as overwriting:
        for i in range(5):
            overwriting.append(np.full(10, 2.0), time=100 + i)
    for read in lambda: s[4], lambda: s.values(), lambda: s[1:].values():
        with pytest.raises(OSError, match="overwritten") as stale:
            read()
        assert stale.value.errno == errno.ESTALE
    assert s.refresh() == 5 and (s.values() == 2).all() and s[4].numpy().sum() == 20
    make("new.dseries", np.ones((5, 10)))
    os.replace("new.dseries", "s.dseries")
    assert s.refresh() == 5
    os.remove("s.dseries")
    assert (s.values() == 1).all()
    with pytest.raises(FileNotFoundError):
        s.refresh()
    assert s[4].numpy().sum() == 10
    with pytest.raises(FileNotFoundError):
        pickle.loads(pickle.dumps(s))


def test_a_writer_never_goes_on_with_another_file():
    with ds.create("s.dseries", ROW) as s:
        s.set_durability("strict")
        s.append([1])
        make("new.dseries", [[1], [2]]).close()
        os.replace("new.dseries", "s.dseries")
        for _ in range(2):
            with pytest.raises(OSError, match="another file") as caught:
                s.refresh()
            assert caught.value.errno == errno.ESTALE and len(s) == 1


def test_closed_series_and_pickled_ones():
    s = make("s.dseries", np.arange(50.0).reshape(5, 10))
    part = s[1:4]
    again, parts = pickle.loads(pickle.dumps((s, part)))
    assert (
        len(pickle.dumps(part)) < 1000
        and (again.values() == s.values()).all()
        and (parts.values() == part.values()).all()
    )
    s.close()
    s.close()
    assert s.closed and "closed" in repr(s)
    for use in (
        lambda: len(s),
        lambda: s[0],
        lambda: s.values(),
        lambda: part[0],
        lambda: s.tags,
        lambda: s.refresh(),
        lambda: s.append([1]),
    ):
        with pytest.raises(ValueError, match="closed"):
            use()
    assert len(pickle.loads(pickle.dumps(s))) == 5


def _in_child(function):
    """What a function returns in a forked process."""
    receiver, sender = multiprocessing.Pipe(False)
    pid = os.fork()
    if pid == 0:
        try:
            sender.send(function())
        except BaseException as error:
            sender.send(f"{type(error).__name__}: {error}")
        os._exit(0)
    assert receiver.poll(60)
    result = receiver.recv()
    os.waitpid(pid, 0)
    return result


def test_forked_processes():
    with ds.create("s.dseries", ROW) as writer:
        writer.append([1.0, 2.0])
        reader, stop = ds.open("s.dseries"), threading.Event()

        def read():
            while not stop.is_set():
                reader[0], reader.values()

        threads = [threading.Thread(target=read) for _ in range(3)]
        for thread in threads:
            thread.start()
        for _ in range(20):  # also while threads of the parent are inside
            assert _in_child(lambda: reader.values().tolist()) == [[1, 2]]
        stop.set()
        for thread in threads:
            thread.join()
        assert _in_child(lambda: writer.append([3.0])).startswith("Error: ")
        assert _in_child(lambda: writer.close() or writer.closed) is True
        assert writer.append([3.0]) == 1  # the parent goes on
    assert len(ds.open("s.dseries", "a")) == 2
    # Whatever the path names now, the child has the file that was open.
    assert reader.refresh() == 2 and len(reader.tags) == 2
    make("other.dseries", [[7.0, 7.0, 7.0]] * 3, [ds.Dim("y", "", 4)]).close()
    os.replace("other.dseries", "s.dseries")

    def seen():
        return reader[0].numpy().tolist(), len(reader.tags), list(reader.coords), reader.shape

    assert _in_child(seen) == seen() == ([1, 2], 2, ["x"], (1000,))
    assert _in_child(lambda: reader.refresh() and seen()) == ([7, 7, 7], 3, ["y"], (4,))
    os.remove("s.dseries")
    assert _in_child(seen) == seen()
    assert _in_child(lambda: reader.refresh()).startswith("FileNotFoundError")


def test_labels_lie_beside_the_file():
    s = make("s.dseries", [[1]])
    assert s.labels == {} and not os.path.exists("s.dseries.json")
    labels = {
        "title": "T",
        "axes": {"x": {"name": "Energy", "units": "eV"}},
        "value": {"name": "counts"},
        "attributes": {"n": [1, {"a": None}]},
        "x": "ä",
    }
    s.labels = labels
    assert s.labels == labels
    for wrong in ({"title": 1}, [1]):
        with pytest.raises(ds.Error):
            s.labels = wrong
    assert s.labels == labels
    open("s.dseries.json", "w").write("{")
    with pytest.raises(ds.Error, match="not valid JSON"):
        s.labels
    s.labels = {}
    assert not os.path.exists("s.dseries.json")
    assert "newest" in s._repr_html_()
    os.mkdir("s.dseries.json")
    for attempt in (lambda: s.labels, lambda: setattr(s, "labels", labels)):
        with pytest.raises((ds.Error, OSError), match="it is a folder"):
            attempt()


def test_a_new_file_has_nothing_of_an_earlier_one():
    def fill(**options):
        with ds.create("s.dseries", ROW, **options) as s:
            assert s.labels == {}
            s.append([1], time=5)
            assert s.checked(-1) is None and s.seal() == 1 and s.checked(-1) is True
            s.labels = {"title": "T"}

    fill()
    with pytest.raises(FileExistsError):
        fill()
    fill(overwrite=True)
    os.remove("s.dseries")
    with pytest.raises(FileExistsError) as caught:  # labels of data that may be lost
        fill()
    assert caught.value.filename == os.path.abspath("s.dseries.json")
    assert not os.path.exists("s.dseries")
    os.remove("s.dseries.json")
    fill()
    with ds.open("s.dseries", "a") as s:  # goes on with the checksums
        s.append([2])
        assert s.checked(1) is True and ds.check("s.dseries").faults == []


def test_nothing_is_left_behind():
    make("s.dseries", np.zeros((5, 100)), position=(1, 2)).close()

    def use():
        s = ds.open("s.dseries")
        s[0], s[1:3].values(), s.tags, list(s), repr(s), s.find(time=2)
        for fail in (
            lambda: s[9],
            lambda: s.append([1]),
            lambda: s.find(time=99),
            lambda: ds.open("none"),
            lambda: ds.open(s.path, "x"),
            lambda: s.values([7]),
        ):
            with pytest.raises((LookupError, OSError, ValueError)):
                fail()

    def held():
        gc.collect()
        return sys.getallocatedblocks(), len(gc.get_objects()), len(os.listdir("/proc/self/fd"))

    for _ in range(20):
        use()
    before = held()
    for _ in range(200):
        use()
    after = held()
    assert after[2] == before[2] and after[1] <= before[1] + 20
    assert after[0] <= before[0] + 190  # less than one by each use


def test_another_process_is_followed():
    writer = ds.create("s.dseries", [ds.Dim("x", "um", 5)])
    writer.append([0])
    code = """if True:
        import datastorage as ds, time
        for i, datum in enumerate(ds.open("s.dseries").follow(timeout=20)):
            print(int(datum[0]), flush=True)
    """
    with subprocess.Popen([sys.executable, "-c", code], stdout=subprocess.PIPE, text=True) as follower:
        seen = []
        for i in range(1, 5):
            if i == 1:
                time.sleep(1)  # the follower must have opened the file
            writer.append([i])
            seen.append(int(follower.stdout.readline()))
    assert seen == [1, 2, 3, 4] and follower.returncode == 0
    assert list(ds.open("s.dseries").follow()) == []
    reader = ds.create("t.dseries", [ds.Dim("x", "um", 5)])
    started = time.monotonic()
    assert list(reader.follow(timeout=0.3, poll=float("inf"))) == [] and time.monotonic() - started >= 0.3
    for poll in (0, -1, float("nan")):
        with pytest.raises(ValueError, match="poll"):
            reader.follow(poll=poll)


def test_a_file_that_is_emptied_is_followed():
    make("s.dseries", [[0]], [ds.Dim("x", "um", 6)]).close()
    reader = ds.open("s.dseries")
    followed = reader.follow(timeout=20)
    whole = open("s.dseries", "rb").read()

    def fill():
        with ds.create("s.dseries", [ds.Dim("x", "um", 6)], overwrite=True) as s:
            s.append([1]), s.append([2])

    for change in (
        lambda f: f.truncate(len(whole) - 3),
        lambda f: f.truncate(0),
        lambda f: os.remove(f.name),
    ):
        with open("s.dseries", "r+b") as file:
            change(file)
        threading.Timer(0.3, fill).start()
        assert [int(next(followed)[0]) for _ in range(2)] == [1, 2]
    os.remove("s.dseries")
    with pytest.raises(FileNotFoundError):
        next(followed)


def test_changed_bytes_are_found_and_appends_synced():
    with ds.create("s.dseries", [ds.Dim("x", "um", 5)]) as s:
        for durability in ("strict", "group", "none"):
            s.set_durability(durability, data=2, milliseconds=0)
            s.append(np.arange(100.0))
        s.sync()
        assert [s.checked(i) for i in range(3)] == [None, True, True]
        with pytest.raises(ValueError, match="'often'"):
            s.set_durability("often")
        with pytest.raises(ValueError, match="None"):
            s.set_durability(None)
        with pytest.raises(ValueError):
            s.set_durability("group", data=0)
        with pytest.raises(IndexError):
            s.checked(3)
        assert s.seal() == 1
    with open("s.dseries", "r+b") as file:
        file.seek(-100, os.SEEK_END)
        file.write(b"\x55")
    with ds.open("s.dseries") as s:
        assert [s.checked(i) for i in range(3)] == [True, True, False]
        with pytest.raises(OSError, match="reading only"):
            s.sync()
    with open("s.dseries.crc32c", "r+b") as file:
        file.seek(21)
        file.write(b"\x55")
    with ds.open("s.dseries") as s, pytest.raises(ds.Error, match="remove that file"):
        s.seal()
