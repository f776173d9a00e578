"""Series files as xarray sees them."""

import doctest
import itertools
import os
import pathlib
import pickle
import shutil
import subprocess
import sys

import numpy as np
import pytest
import xarray

import datastorage as ds
import datastorage.xarray_backend

TYPES = ["u1", "u2", "u4", "i2", "i4", "f4", "f8"]


def _series(path, dims, data, times=range(10**6), positions=itertools.repeat(None)):
    with ds.create(path, dims, ndim=data[0].ndim) as s:
        for datum, time, position in zip(data, times, positions):
            s.append(datum, time=time, position=position)


def _random_series(seed, path, masked):
    """Writes a series; returns the Dataset that it is, computed slot by slot."""
    random = np.random.default_rng(seed)

    def axis(*name):
        n, offset, delta, index = (
            random.integers(1, 6),
            random.normal(),
            random.uniform(0.1, 2),
            random.integers(-3, 4),
        )
        return ds.Dim(*name, int(n), offset, delta, int(index), bool(random.integers(2)))

    dims = [axis("xyzt"[d], "um") for d in range(random.integers(0, 4))]
    axes = [axis("position" + end, "") for end in ([""], ["_x", "_y"])[seed % 2]]
    sizes, shape = [dim.size for dim in dims[::-1]], [axis.size for axis in axes[::-1]]
    slots = int(np.prod(sizes))
    filled = slots if seed % 3 == 0 else int(random.integers(1, slots + 1))
    numbers = random.integers(0, 200, (filled, *shape)).astype(TYPES[seed % len(TYPES)])
    calibration = [tuple(field) if seed % 2 else field[0] for field in zip(*(axis[3:6] for axis in axes))]
    data = [ds.Array(n, **dict(zip(("offset", "delta", "index"), calibration))) for n in numbers]
    times, places = random.integers(-(2**31), 2**31, filled), random.normal(size=(filled, 2))
    _series(path, dims, data, times.tolist(), places.tolist() if seed % 4 else itertools.repeat(None))

    floats = numbers.dtype.kind == "f" or (masked and filled < slots)
    values = np.full((*sizes, *shape), np.nan if floats else 0, "f8" if floats else numbers.dtype)
    tags = {"tag_time": np.full(sizes, "NaT", "M8[ns]")}
    if seed % 4:
        tags.update({name: np.full(sizes, np.nan) for name in ("tag_x", "tag_y")})
    for slot, vector in zip(range(filled), itertools.product(*map(range, sizes))):
        vector = tuple(dim.size - 1 - i if dim.reverse else i for i, dim in zip(vector, reversed(dims)))
        values[vector] = numbers[slot]
        for name, tag in zip(tags, (np.datetime64(int(times[slot]), "s"), *places[slot])):
            tags[name][vector] = tag
    coords = {axis.name: axis.positions for axis in dims + axes}
    coords.update((name, ([dim.name for dim in dims[::-1]], tag)) for name, tag in tags.items())
    return xarray.Dataset({"data": ([axis.name for axis in dims[::-1] + axes[::-1]], values)}, coords)


@pytest.mark.filterwarnings("ignore:The specified Dask chunks separate")
@pytest.mark.parametrize("seed", range(60))
def test_random_series(seed):
    options = {"chunks": [None, {}, 2][seed % 3], "mask_and_scale": seed % 5 > 0}
    model = _random_series(seed, "a.dseries", options["mask_and_scale"])
    opened = xarray.open_dataset("a.dseries", **options)
    xarray.testing.assert_equal(opened, model)
    assert all(opened[dim].attrs.get("units") == "um" for dim in set("xyzt") & set(opened.dims))
    assert opened.data.dtype.kind == model.data.dtype.kind

    random = np.random.default_rng(seed)
    for _ in range(12):  # parts of it are the same parts of the model
        opened = xarray.open_dataset("a.dseries", **options)  # nothing is remembered of what was read
        parts = {}
        for dim, n in model.sizes.items():
            start, stop, i, *chosen = random.integers(-n, n, 6).tolist()
            ways = [i, chosen, slice(start, stop), slice(start, None, 2), slice(None)]
            ways += [slice(None, None, -1), slice(start, stop, random.integers(-5, 0))]
            parts[dim] = ways[random.integers(len(ways))]
        xarray.testing.assert_equal(opened.isel(parts), model.isel(parts))
        again = {dim: slice(None, None, random.integers(-3, 0)) for dim in opened.isel(parts).dims}
        xarray.testing.assert_equal(opened.isel(parts).isel(again), model.isel(parts).isel(again))
    points = {dim: xarray.DataArray(random.integers(0, n, 7), dims="point") for dim, n in model.sizes.items()}
    xarray.testing.assert_equal(opened.isel(points), model.isel(points))
    points[model.data.dims[-1]] = slice(None, None, -3)  # where the others are points
    xarray.testing.assert_equal(opened.isel(points), model.isel(points))


def test_docstrings():
    result = doctest.testmod(datastorage.xarray_backend)
    assert result.failed == 0 and result.attempted > 5


def _bytes_read_by(action):
    io = pathlib.Path("/proc/self/io")
    before = io.read_text()
    action()
    return int(io.read_text().split()[1]) - int(before.split()[1])


def test_only_what_is_asked_for_is_read():
    data = np.random.default_rng(1).integers(0, 9999, (10_000, 2048)).astype("u2")
    _series("big.dseries", [ds.Dim("x", "", 100, reverse=True), ds.Dim("y", "", 100)], data)
    lists = 8 * len(data)  # the places of the data
    opened = xarray.open_dataset("big.dseries")
    assert _bytes_read_by(lambda: xarray.open_dataset("big.dseries")) < lists + 100_000
    data_only = opened.data.drop_vars("tag_time")
    opens = 2 * (lists + 20_000)  # and the checks whether it is the same file
    assert _bytes_read_by(lambda: data_only.isel(x=4, y=5, position=0).load()) < 4096 + opens
    assert _bytes_read_by(lambda: data_only.isel(x=slice(0, 10), y=7).load()) < 41_000 + opens
    assert _bytes_read_by(lambda: opened.tag_time.isel(y=7).load()) < 600_000 + opens  # between the data
    assert (opened.data.isel(position=3).values == data[:, 3].reshape(100, 100)[:, ::-1]).all()

    blocks = xarray.open_dataset("big.dseries", chunks={})
    assert blocks.chunksizes == {"y": (81, 19), "x": (100,), "position": (2048,)}
    for options in ({"scheduler": "threads", "num_workers": 4}, {"scheduler": "synchronous"}):
        assert blocks.data.sum().compute(**options) == data.sum(dtype=np.int64)


def test_parts_go_to_other_processes_by_their_path():
    _series("a.dseries", [ds.Dim("x", "", 3)], np.arange(12, dtype="i4").reshape(3, 4))
    opened = xarray.open_dataset("a.dseries")
    for name in ("data", "tag_time"):
        assert len(pickle.dumps(opened[name].variable._data)) - len(os.getcwd()) < 900
    opened = xarray.open_dataset("a.dseries", chunks={})
    pickled = pickle.dumps(opened)
    opened.close()
    assert opened.data.sum().compute() == 66  # opens the file again
    script = "import pickle, sys; print(pickle.load(sys.stdin.buffer).data.sum().compute().item())"
    command = [sys.executable, "-c", script]
    assert subprocess.run(command, input=pickled, capture_output=True, cwd="/").stdout == b"66\n"


def test_names_and_labels():
    dims = [ds.Dim(name, "s", 2) for name in ("data", "tag_time", "", "E", "E")]
    _series("a.dseries", dims, np.zeros((32, 3), "f4"))
    with ds.open("a.dseries") as s:
        names = "data tag_time dim_2 dim_3 dim_4 data_ tag_time_ position"
        assert set(s.to_xarray().variables) == set(names.split())
    labels = {
        "title": "A run",
        "axes": {"x": {"name": "E", "units": "eV"}},
        "value": {"name": "counts", "units": "1/s"},
        "attributes": {"sample": "A7", "title": "another"},
    }
    _series("b.dseries", [ds.Dim("E", "J", 2)], np.zeros((2, 3), "f4"))
    with ds.open("b.dseries") as s:
        s.labels = labels
        opened = s.to_xarray(chunks={}, drop_variables="tag_time")
    assert opened.attrs == {"sample": "A7", "title": "A run"} and set(opened.coords) == {"E", "E_"}
    assert opened.data.attrs == {"long_name": "counts", "units": "1/s"}
    assert opened.E_.attrs == {"long_name": "E", "units": "eV"}
    array = ds.Array(np.zeros((2, 3), "u1"), offset=(1, 5)).to_xarray(labels=labels)
    assert array.dims == ("position_y", "E") and array.E.attrs["units"] == "eV"
    assert array.position_y.values.tolist() == [5, 6]
    array[0, 0] = 1  # its own elements


def test_data_that_differ_are_refused_and_nothing_is_made_up():
    dims, one = [ds.Dim("x", "", 4)], np.ones(3, "u2")
    others = [np.ones(4, "u2"), np.ones(3, "f4"), ds.Array(one, offset=1.0)]
    for i, (other, message) in enumerate(zip(others, ("4", "float32", "same_axes=False"))):
        _series(f"last{i}.dseries", dims, [one, other])
        with pytest.raises(ValueError, match="datum 1 .*" + message):
            xarray.open_dataset(f"last{i}.dseries")
        _series(f"middle{i}.dseries", dims, [one, one, other, one])
        opened = xarray.open_dataset(f"middle{i}.dseries")
        assert opened.data.isel(x=[3, 1]).values.tolist() == [[1] * 3] * 2
        for key in (slice(None), 2, [2], slice(2, 4)):
            with pytest.raises(ValueError, match="datum 2 "):
                opened.data.isel(x=key).load()
    opened = xarray.open_dataset("middle2.dseries", same_axes=False)
    assert "position" not in opened.coords and opened.data.sum() == 12

    ds.create("empty.dseries", dims).close()
    opened = xarray.open_dataset("empty.dseries", chunks={})
    assert opened.data.shape == (4, 0) and np.isnat(opened.tag_time.values).all()
    pathlib.Path("empty.dseries.json").write_text("{")
    with pytest.raises(ds.Error, match="empty.dseries.json"):
        xarray.open_dataset("empty.dseries")


def test_files_that_grow_or_go_away():
    dims = [ds.Dim("x", "", 4)]
    _series("a.dseries", dims, np.ones((2, 3), "u2"))
    before = xarray.open_dataset("a.dseries")
    with ds.open("a.dseries", mode="a") as s:
        s.append(np.full(3, 2, "u2"))
        after = s.to_xarray()
    for opened, filled in ((before, 2), (after, 3)):
        assert np.isfinite(opened.data.values).all(axis=1).tolist() == [i < filled for i in range(4)]
        assert np.isnat(opened.tag_time.values).tolist() == [i >= filled for i in range(4)]

    for replacement in (np.ones((1, 3), "u2"), np.ones((3, 2), "u2"), np.ones((3, 3), "f4")):
        shutil.copy("a.dseries", "b.dseries")
        opened = xarray.open_dataset("b.dseries")
        os.remove("b.dseries")
        _series("b.dseries", dims, replacement)
        with pytest.raises(OSError, match="replaced") as raised:
            opened.data.load()
        assert raised.value.filename == os.path.abspath("b.dseries")
        os.remove("b.dseries")
        with pytest.raises(FileNotFoundError):
            opened.data.load()
    opened = xarray.open_dataset("a.dseries", chunks={})
    assert opened.data.sum().compute() == 12 and (opened.tag_time[0].compute().astype(int) == 0).all()
    with ds.create("c.dseries", dims) as s:
        for _ in range(3):
            s.append(np.full(3, 7, "u2"), time=1000)
    pathlib.Path("a.dseries").write_bytes(pathlib.Path("c.dseries").read_bytes())  # in the same inode
    for lazy in (opened.data, opened.tag_time):
        with pytest.raises(OSError, match="replaced"):
            lazy.load()
    values = np.full((3, 3), 7, "u2")
    _series("d.dseries", dims, values, times=[0] * 3)
    opened = xarray.open_dataset("d.dseries")
    values[2, 2] = 8
    _series("e.dseries", dims, values, times=[0] * 3)
    os.replace("e.dseries", "d.dseries")
    with pytest.raises(OSError, match="replaced"):
        opened.data.load()
    opened = xarray.open_dataset("a.dseries")
    whole = pathlib.Path("a.dseries").read_bytes()
    os.truncate("a.dseries", len(whole) - 60)
    with pytest.raises((ds.Error, OSError)):
        opened.data.load()


def test_what_is_no_series():
    for path in ("a.dseries", pathlib.Path("a.dseries"), "no/such.dseries"):
        with pytest.raises(FileNotFoundError):
            xarray.open_dataset(path)
    os.mkdir("folder.dseries")
    with pytest.raises(IsADirectoryError):
        xarray.open_dataset("folder.dseries")
    pathlib.Path("text.dseries").write_text("something else")
    with pytest.raises(ds.Error):
        xarray.open_dataset("text.dseries")
    _series("run", [ds.Dim("x", "", 4)], np.ones((2, 3), "u2"))
    assert xarray.open_dataset("run").data.shape == (4, 3)  # known by its first bytes
    with pytest.raises(ValueError, match="did not find a match"):
        xarray.open_dataset("missing")


def test_many_files():
    data = np.random.default_rng(1).integers(0, 9999, (200, 5, 8)).astype("u2")
    for i, numbers in enumerate(data):
        _series(f"run{i:03}.dseries", [ds.Dim("x", "um", 5)], numbers, times=[i] * 5)
    opened = xarray.open_mfdataset("run*.dseries", combine="nested", concat_dim="run")
    assert opened.data.dims == ("run", "x", "position") and opened.x.attrs["units"] == "um"
    assert opened.data.dtype == "u2" and (opened.data.values == data).all()
    assert (opened.tag_time.values[:, 0].astype("M8[s]").astype(int) == np.arange(200)).all()
    opened.close()
    for i in (2, 0, 1):
        _series(f"scan{i}.dseries", [ds.Dim("x", "um", 5, 5.0 * (2 - i))], data[i])
    opened = xarray.open_mfdataset("scan*.dseries")  # parts of one scan, in the order of their positions
    assert (opened.data.values == data[2::-1].reshape(15, 8)).all() and (opened.x.values == range(15)).all()
