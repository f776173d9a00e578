"""Series files as xarray sees them."""

import itertools
import json
import os
import pathlib
import pickle
import shutil
import subprocess
import sys

import dask
import numpy as np
import pytest
import xarray

import datastorage as ds

TYPES = ["u1", "u2", "u4", "i2", "i4", "f4", "f8"]


def _series(path, dims, data, **tags):
    with ds.create(path, dims, ndim=data[0].ndim if len(data) else 1) as s:
        for i, datum in enumerate(data):
            s.append(
                datum,
                time=tags["times"][i] if "times" in tags else i,
                position=tags["positions"][i] if "positions" in tags else None,
            )


def _random_series(seed, path):
    """Writes a series; returns what each slot holds by its index vector, computed one by one, and the rest of it."""
    random = np.random.default_rng(seed)
    dims = [
        ds.Dim("xyzt"[d], ["um", ""][d % 2], int(random.integers(1, 6)), random.normal(), random.uniform(0.1, 2), int(random.integers(-3, 4)), bool(random.integers(2)))
        for d in range(random.integers(0, 4))
    ]  # fmt: skip
    total = int(np.prod([dim.size for dim in dims]))
    filled = total if seed % 3 == 0 else int(random.integers(1, total + 1))
    ndim, dtype = int(random.integers(1, 3)), np.dtype(TYPES[seed % len(TYPES)])
    shape, place = tuple(random.integers(1, 6, ndim)), random.normal(size=(2, ndim))
    calibration = [
        x if ndim == 2 else x[0]
        for x in (place[0].tolist(), np.abs(place[1]).tolist(), random.integers(-2, 3, ndim).tolist())
    ]
    numbers = [random.integers(0, 200, shape).astype(dtype) for _ in range(filled)]
    data = [ds.Array(n, offset=calibration[0], delta=calibration[1], index=calibration[2]) for n in numbers]
    tags = {"times": random.integers(-(2**31), 2**31, filled).tolist()}
    if seed % 2:
        tags["positions"] = random.normal(size=(filled, 2)).tolist()
    _series(path, dims, data, **tags)

    slots = {}
    for slot, vector in enumerate(itertools.product(*[range(dim.size) for dim in reversed(dims)])):
        vector = tuple(dim.size - 1 - i if dim.reverse else i for i, dim in zip(vector, reversed(dims)))
        if slot < filled:
            slots[vector] = numbers[slot], tags["times"][slot], tags.get("positions", [None] * filled)[slot]
    return dims, slots, data[0], total


@pytest.mark.parametrize("seed", range(60))
def test_random_series(seed):
    dims, slots, first, total = _random_series(seed, "a.dseries")
    options = {"chunks": [None, {}, 2][seed % 3], "mask_and_scale": seed % 5 > 0}
    opened = xarray.open_dataset("a.dseries", **options)
    names = [dim.name for dim in reversed(dims)]
    axes = ["position"] if first.ndim == 1 else ["position_y", "position_x"]
    assert opened.data.dims == (*names, *axes) and opened.data.shape[: len(dims)] == tuple(
        dim.size for dim in reversed(dims)
    )
    for dim in dims:
        assert opened[dim.name].values.tolist() == [
            dim.offset + (i - dim.index) * dim.delta for i in range(dim.size)
        ]
        assert opened[dim.name].attrs.get("units", "") == dim.units
    for axis, positions in zip(reversed(axes), [first.positions] if first.ndim == 1 else first.positions):
        assert opened[axis].values.tolist() == positions.tolist()

    values, times = opened.data.values, opened.tag_time.values
    assert values.dtype == first.dtype or (
        len(slots) < total and options["mask_and_scale"] and values.dtype.kind == "f"
    )
    for vector in itertools.product(*map(range, opened.data.shape[: len(dims)])):
        if vector in slots:
            numbers, time, position = slots[vector]
            assert (values[vector] == numbers).all() and times[vector] == np.datetime64(time, "s")
            if position:
                assert [opened.tag_x.values[vector], opened.tag_y.values[vector]] == position
        else:
            assert np.isnat(times[vector]) and (
                np.isnan(values[vector]).all() if values.dtype.kind == "f" else (values[vector] == 0).all()
            )

    random = np.random.default_rng(seed)
    for _ in range(12):  # parts of it are what NumPy cuts out of the whole
        opened = xarray.open_dataset("a.dseries", **options)  # nothing is remembered of what was read
        key = {}
        for name, n in zip(opened.data.dims, opened.data.shape):
            start, stop = random.integers(-n, n + 1, 2)
            forms = [
                int(random.integers(-n, n)),
                slice(start, stop),
                slice(None, None, -1),
                slice(start, None, 2),
                random.integers(-n, n, 3).tolist(),
                slice(None),
            ]
            key[name] = forms[random.integers(len(forms))]  # fmt: skip
        expected = values
        for axis, k in reversed(list(enumerate(key.values()))):
            expected = expected[(slice(None),) * axis + (k,)]
        np.testing.assert_array_equal(opened.data.isel(key).values, expected)
        tag_key = {name: key[name] for name in names}
        expected = times
        for axis, k in reversed(list(enumerate(tag_key.values()))):
            expected = expected[(slice(None),) * axis + (k,)]
        np.testing.assert_array_equal(opened.tag_time.isel(tag_key).values, expected)
    points = [xarray.DataArray(random.integers(0, n, 7), dims="point") for n in values.shape]
    np.testing.assert_array_equal(
        opened.data.isel(dict(zip(opened.data.dims, points))).values, values[tuple(p.values for p in points)]
    )


def _bytes_read():
    return int(pathlib.Path("/proc/self/io").read_text().split()[1])


def _read_by(action):
    before = _bytes_read()
    action()
    return _bytes_read() - before


def test_only_what_is_asked_for_is_read():
    dims = [ds.Dim("x", "", 100, reverse=True), ds.Dim("y", "", 100)]
    data = np.random.default_rng(1).integers(0, 9999, (10_000, 2048)).astype("u2")
    _series("big.dseries", dims, data)
    opened = []
    lists = 8 * len(data)  # the places of the data
    assert _read_by(lambda: opened.append(xarray.open_dataset("big.dseries"))) < lists + 100_000
    lazy = opened[0].data
    lazy.isel(x=0, y=0).load()  # the file is open from here on
    assert _read_by(lambda: lazy.isel(x=4, y=5, position=0).load()) < 24_000
    assert _read_by(lambda: lazy.isel(x=slice(0, 10), y=7).load()) < 10 * 4096 + lists + 24_000
    assert _read_by(lambda: opened[0].tag_time.isel(y=7).load()) < 600_000  # a tag lies between two data
    assert (lazy.isel(position=3).values == data[:, 3].reshape(100, 100)[:, ::-1]).all()

    blocks = xarray.open_dataset("big.dseries", chunks={}).data
    assert blocks.chunksizes == {"y": (81, 19), "x": (100,), "position": (2048,)}
    total = blocks.sum().compute(scheduler="threads", num_workers=4)
    assert total == blocks.sum().compute(scheduler="synchronous") == data.sum(dtype=np.int64)


def test_parts_go_to_other_processes_by_their_path():
    _series("a.dseries", [ds.Dim("x", "", 3)], np.arange(12, dtype="i4").reshape(3, 4))
    opened = xarray.open_dataset("a.dseries", chunks={})
    for name in ("data", "tag_time"):
        lazy = xarray.open_dataset("a.dseries")[name].variable._data
        assert len(pickle.dumps(lazy)) - len(os.getcwd()) < 900
    pickled = pickle.dumps(opened)
    opened.close()
    assert opened.data.sum().compute() == 66  # opens the file again
    script = "import pickle, sys; print(pickle.load(sys.stdin.buffer).data.sum().compute().item())"
    elsewhere = subprocess.run(
        [sys.executable, "-c", script], input=pickled, capture_output=True, cwd="/", check=True
    )
    assert elsewhere.stdout == b"66\n"
    with dask.config.set(scheduler="processes", num_workers=2):
        assert opened.data.sum().compute() == 66


def test_names_and_labels():
    dims = [ds.Dim(name, "s", 2) for name in ("data", "tag_time", "", "E", "E")]
    _series("a.dseries", dims, np.zeros((32, 3), "f4"))
    with ds.open("a.dseries") as s:
        assert set(s.to_xarray().variables) == {
            "data",
            "tag_time",
            "dim_2",
            "dim_3",
            "dim_4",
            "data_",
            "tag_time_",
            "position",
        }
    labels = {
        "title": "A run", "axes": {"x": {"name": "E", "units": "eV"}}, "value": {"name": "counts", "units": "1/s"}, "attributes": {"sample": "A7", "title": "x"},
    }  # fmt: skip
    _series("b.dseries", [ds.Dim("E", "J", 2)], np.zeros((2, 3), "f4"))
    with ds.open("b.dseries") as s:
        s.labels = labels
        opened = s.to_xarray(chunks={}, drop_variables="tag_time")
    assert opened.attrs == {"sample": "A7", "title": "A run"} and set(opened.coords) == {"E", "E_"}
    assert opened.data.attrs == {"long_name": "counts", "units": "1/s"} and opened.E_.attrs == {
        "long_name": "E",
        "units": "eV",
    }
    array = ds.Array(np.zeros((2, 3), "u1"), offset=(1, 5)).to_xarray(labels=labels)
    assert (
        array.dims == ("position_y", "E")
        and array.position_y.values.tolist() == [5, 6]
        and array.E.attrs["units"] == "eV"
    )
    array[0, 0] = 1  # its own elements


def test_data_that_differ_are_refused_and_nothing_is_made_up():
    dims, one = [ds.Dim("x", "", 4)], np.ones(3, "u2")
    for other, message in (
        (np.ones(4, "u2"), "4"),
        (np.ones(3, "f4"), "float32"),
        (ds.Array(one, offset=1.0), "same_axes=False"),
    ):
        _series("last.dseries", dims, [one, other])
        with pytest.raises(ValueError, match="datum 1 .*" + message):
            xarray.open_dataset("last.dseries")
        _series("middle.dseries", dims, [one, one, other, one])
        opened = xarray.open_dataset("middle.dseries")
        assert opened.data.isel(x=[3, 1]).values.tolist() == [[1] * 3] * 2
        for key in (slice(None), 2, [2], slice(2, 4)):
            with pytest.raises(ValueError, match="datum 2 "):
                opened.data.isel(x=key).load()
        os.remove("last.dseries"), os.remove("middle.dseries")
    _series("moved.dseries", dims, [ds.Array(one, offset=float(i)) for i in range(4)])
    opened = xarray.open_dataset("moved.dseries", same_axes=False)
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
        assert (
            np.isfinite(opened.data.values).sum() == 3 * filled
            and np.isfinite(opened.tag_time.values.astype(float)).sum() == 4
        )
        assert np.isnat(opened.tag_time.values).sum() == 4 - filled

    for number, replacement in enumerate(
        [np.ones((1, 3), "u2"), np.ones((3, 2), "u2"), np.ones((3, 3), "f4")]
    ):
        shutil.copy("a.dseries", "b.dseries")
        opened = xarray.open_dataset("b.dseries")
        os.remove("b.dseries")
        _series("b.dseries", dims, replacement)
        with pytest.raises(OSError, match="replaced") as raised:
            opened.data.load()
        assert raised.value.filename == os.path.abspath("b.dseries")
    opened = xarray.open_dataset("a.dseries")
    whole = pathlib.Path("a.dseries").read_bytes()
    os.truncate("a.dseries", len(whole) - 60)
    with pytest.raises((ds.Error, OSError)):
        opened.data.load()
    os.remove("a.dseries")
    for path in ("a.dseries", pathlib.Path("a.dseries"), "no/such.dseries"):
        with pytest.raises(FileNotFoundError):
            xarray.open_dataset(path)
    with pytest.raises(FileNotFoundError):
        opened.data.load()
    os.mkdir("folder.dseries")
    with pytest.raises(IsADirectoryError):
        xarray.open_dataset("folder.dseries")
    pathlib.Path("text.dseries").write_text("something else")
    with pytest.raises(ds.Error):
        xarray.open_dataset("text.dseries")
    pathlib.Path("run").write_bytes(whole)
    assert xarray.open_dataset("run").data.shape == (4, 3)  # known by its first bytes
    with pytest.raises(ValueError, match="did not find a match"):
        xarray.open_dataset("labels.json")


def test_many_files():
    data = np.random.default_rng(1).integers(0, 9999, (200, 5, 8)).astype("u2")
    for i, numbers in enumerate(data):
        _series(f"run{i:03}.dseries", [ds.Dim("x", "um", 5)], numbers, times=[i] * 5)
    opened = xarray.open_mfdataset("run*.dseries", combine="nested", concat_dim="run")
    assert (
        opened.data.dims == ("run", "x", "position")
        and opened.x.attrs["units"] == "um"
        and opened.data.dtype == "u2"
    )
    assert (opened.data.values == data).all() and (
        opened.tag_time.values[:, 0].astype("M8[s]").astype(int) == np.arange(200)
    ).all()
    opened.close()
    for i in (2, 0, 1):
        _series(f"scan{i}.dseries", [ds.Dim("x", "um", 5, 5.0 * (2 - i))], data[i])
    opened = xarray.open_mfdataset("scan*.dseries")  # parts of one scan, in the order of their positions
    assert (opened.data.values == data[2::-1].reshape(15, 8)).all() and (opened.x.values == range(15)).all()
