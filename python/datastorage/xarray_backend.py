"""Series and arrays as labelled data of xarray, which opens series files once this package is installed.

>>> import datastorage as ds, xarray
>>> with ds.create("grid.dseries", [ds.Dim("x", "um", 3, 0.0, 0.5), ds.Dim("y", "um", 2)]) as s:
...     for i in range(5):
...         _ = s.append(ds.Array([i, 10 * i], offset=20.0), time=i)
>>> scan = xarray.open_dataset("grid.dseries")
>>> scan.data.dims, scan.data.attrs
(('y', 'x', 'position'), {})
>>> scan.data.sel(x=0.5, y=1).values, scan.data.sel(x=1, y=1).values
(array([ 4., 40.]), array([nan, nan]))
>>> scan.tag_time.sel(y=0).values[-1]
numpy.datetime64('1970-01-01T00:00:02.000000000')
"""

import errno
import math
import os
import zlib

import numpy as np
import xarray
from xarray.backends import BackendArray, BackendEntrypoint
from xarray.core import indexing

from ._core import Array
from ._files import absolute
from .series import Series

_BLOCK = 32 << 20  # bytes of the data that are read at once, where they are not read straight to their place
_FIRST_BYTES = b"\x49\x49\x44\x53\x10\x02"


class SeriesBackend(BackendEntrypoint):
    """Series files for xarray.open_dataset() and open_mfdataset().

    The Dataset has the variable `data`. Its dimensions are those of the series, slowest first, each in the
    order of its positions, then those of a datum, rows first: `position`, or `position_y` and `position_x`,
    or the names that the labels of the file give them. Units, names and further labels are attributes. The
    coordinates `tag_time` and, where the tags have positions, `tag_x` and `tag_y` have a value for each slot.
    A name that a dimension has already gets an underscore behind it.

    Slots that are not filled hold not-a-number, or not-a-time. Integers therefore become floats that hold
    them exactly, unless all slots are filled. With mask_and_scale=False they stay as they are, and slots that
    are not filled hold 0; where `tag_time` is not-a-time, the slot is one of them.

    All data need the type, the shape and the positions of the first one: others raise ValueError, at the
    latest when they are read. same_axes=False leaves out the positions of elements, which then may differ.

    Data are read when they are asked for, whole data each, from the state in which the file was opened: what
    is appended later is there when it is opened again. The parts of a Dataset pickle to the path and to what
    identifies the file: its dimensions, and the tags and the first 64 KiB of its first and its newest datum;
    one that was replaced by a file with others meanwhile raises OSError.
    """

    description = "Series files of measured data"

    def guess_can_open(self, filename_or_obj):
        try:
            path = os.fsdecode(filename_or_obj)
        except TypeError:
            return False
        if path.endswith(".dseries"):
            return True
        try:
            with open(path, "rb") as file:
                return file.read(len(_FIRST_BYTES)) == _FIRST_BYTES
        except (OSError, ValueError):
            return False

    def open_dataset(self, filename_or_obj, *, drop_variables=None, mask_and_scale=True, same_axes=True):
        path = absolute(os.path.expanduser(filename_or_obj))
        dropped = [drop_variables] if isinstance(drop_variables, str) else drop_variables or []
        with Series(path) as series:
            return _dataset(series, dropped, mask_and_scale, same_axes)


def to_xarray(series, **options):
    """The Dataset that xarray.open_dataset() gives for the file of a series, with the same options."""
    return xarray.open_dataset(series.path, engine=SeriesBackend, **options)


def array_to_xarray(array, *, name="data", labels=None):
    """A copy of an array as a DataArray; `labels` are those of a series.

    >>> import datastorage as ds
    >>> ds.Array([1, 4, 9], offset=20.0, delta=0.5).to_xarray().sel(position=slice(20.5, None)).values
    array([4, 9], dtype=int32)
    """
    labels = labels or {}
    axes = _axes(array.calibration, array.shape, labels, set())
    return xarray.DataArray(
        array.numpy(copy=True), axes, list(axes), name, _attributes(labels.get("value", {}))
    )


def _dataset(series, dropped, mask_and_scale, same_axes):
    file, labels = series._file, series.labels
    filled, form = file.filled, _form(file, 0)
    if filled:
        _require_form(series.path, file, filled - 1, form, same_axes)
    place = _File(series, filled), series.dims

    slots = series._names[::-1]
    used = set(slots)
    coords = {
        name: xarray.IndexVariable(name, dim.positions, _attributes({"name": dim.name, "units": dim.units}))
        for name, dim in zip(slots, series.dims[::-1])
    }
    name = _unused("data", used)
    fields = ("time",) if file.tags(0, 0)[1] is None else ("time", "x", "y")
    tags = [(_unused(f"tag_{field}", used), _Tags(*place, field)) for field in fields]
    axes = _axes(form[2], form[1], labels, used)
    if same_axes:
        coords.update(axes)

    dtype = np.result_type(form[0], np.float32) if mask_and_scale and filled < file.slots else form[0]
    elements = _Elements(*place, form, dtype, same_axes)
    blocks = dict(zip(slots + list(axes), elements.blocks()))
    data = {name: _lazy(blocks, elements, _attributes(labels.get("value", {})))}
    coords.update((tag, _lazy({dim: blocks[dim] for dim in slots}, values)) for tag, values in tags)
    for variable in dropped:
        data.pop(variable, None), coords.pop(variable, None)
    title = {"title": labels["title"]} if labels.get("title") else {}
    dataset = xarray.Dataset(data, coords, {**labels.get("attributes", {}), **title})
    dataset.set_close(_nothing_stays_open)
    return dataset


def _lazy(blocks, array, attributes=None):
    """A variable that is read when it is asked for, best in these blocks along its dimensions."""
    return xarray.Variable(
        list(blocks), indexing.LazilyIndexedArray(array), attributes, {"preferred_chunks": blocks}
    )


def _attributes(label):
    attributes = {"long_name": label.get("name"), "units": label.get("units")}
    return {key: text for key, text in attributes.items() if text}


def _unused(name, used):
    while name in used:
        name += "_"
    used.add(name)
    return name


def _axes(calibration, shape, labels, used):
    """The coordinates of the elements of a datum by their names, rows first."""
    if len(shape) == 1:
        calibration = zip(calibration)
    axes = {}
    for key, offset, delta, index, size in zip("xy", *calibration, shape[::-1]):
        label = labels.get("axes", {}).get(key, {})
        name = _unused(label.get("name") or ("position" if len(shape) == 1 else f"position_{key}"), used)
        axes[name] = xarray.IndexVariable(
            name, offset + (np.arange(size) - index) * delta, _attributes(label)
        )
    return dict(reversed(axes.items()))


def _form(file, i):
    """Type, shape and calibration of a datum; without data those of an array without elements."""
    if file.filled:
        dtype, shape, calibration = file.head(i)
        return dtype, tuple(shape), calibration
    array = Array(np.empty((0,) * file.ndim))
    return array.dtype, array.shape, array.calibration


def _require_form(path, file, i, form, same_axes):
    """Raises ValueError when datum i differs from the first one."""
    found = _form(file, i)
    if found[:2] != form[:2]:
        raise ValueError(
            f"{path}: datum {i} holds {found[1]} elements of {found[0]}, datum 0 {form[1]} of {form[0]}: "
            "read them one by one with datastorage.open()"
        )
    if same_axes and found[2] != form[2]:
        raise ValueError(
            f"{path}: datum {i} has other positions than datum 0: same_axes=False leaves them out"
        )


def _identity(series, filled):
    """A number for what appending leaves as it is: dimensions, the tags at both ends and the data there."""
    file, parts = series._file, [series.dims, series.ndim]
    for i in sorted({0, filled - 1}) if filled else ():
        times, positions = file.tags(i, i + 1)
        parts.append((times.tolist(), None if positions is None else positions.tolist()))
        parts.append(zlib.crc32(file.first_bytes(i)))
    return zlib.crc32(repr(parts).encode())


class _File:
    """A file that is opened for each read, so that nothing stays open and every process can read."""

    def __init__(self, series, filled):
        self.path, self.filled, self.identity = series.path, filled, _identity(series, filled)
        self._tags = None, None

    def __getstate__(self):
        return {**vars(self), "_tags": (None, None)}

    def tags(self, begin, end):
        """The tags of data [begin, end), remembered: time, x and y are asked for one behind the other."""
        known, tags = self._tags
        if known != (begin, end):
            tags = self.read(lambda file: file.tags(begin, end))
            self._tags = (begin, end), tags
        return tags

    def read(self, work):
        """What `work` reads from the file. Raises OSError if it is another file before or after that."""
        with self._opened() as series:
            result = work(series._file)
        self._opened().close()
        return result

    def _opened(self):
        series = Series(self.path)
        if len(series) < self.filled or _identity(series, self.filled) != self.identity:
            raise OSError(errno.ESTALE, "the file was replaced after the Dataset was opened", self.path)
        return series


def _nothing_stays_open():
    """Closes a Dataset; open_mfdataset() needs something to call."""


class _Slots(BackendArray):
    """Values for the slots of a series, slowest dimension first, that are read from its file."""

    def __init__(self, file, dims, dtype):
        self._file, self._dims = file, dims
        self.dtype = np.dtype(dtype)
        self.shape = tuple(dim.size for dim in reversed(dims))

    def __getitem__(self, key):
        # Slices are read forwards and then reversed, because xarray's own way (2023.01) misses elements.
        forwards, reversed_axes, axis = [], [], 0
        kept = slice if isinstance(key, indexing.VectorizedIndexer) else (slice, np.ndarray)
        for k, n in zip(reversed(key.tuple), reversed(self.shape)):
            axis -= isinstance(k, kept)
            if isinstance(k, slice) and (chosen := range(n)[k]).step < 0:
                chosen = chosen[::-1]
                k = slice(chosen.start, chosen.stop, chosen.step) if chosen else slice(0)
                reversed_axes.append(axis)
            forwards.insert(0, k)
        values = indexing.explicit_indexing_adapter(
            type(key)(tuple(forwards)), self.shape, indexing.IndexingSupport.OUTER, self._read
        )
        return np.flip(values, reversed_axes)

    def _slots(self, keys):
        """The numbers of the slots that are chosen by a key for each dimension, slowest first."""
        slots, stride = np.zeros((), np.int64), 1
        for dim, key in zip(self._dims, reversed(keys)):
            indices = np.arange(dim.size)[key]
            slots = np.add.outer((dim.size - 1 - indices if dim.reverse else indices) * stride, slots)
            stride *= dim.size
        return np.asarray(slots)

    def _missing(self):
        return self.dtype.type("NaT" if self.dtype.kind == "M" else 0 if self.dtype.kind in "iu" else np.nan)


class _Tags(_Slots):
    """One of the fields time, x and y of the tags."""

    def __init__(self, file, dims, field):
        super().__init__(file, dims, "M8[ns]" if field == "time" else "f8")
        self._field = field

    def _read(self, keys):
        slots = self._slots(keys)
        values = np.full(slots.shape, self._missing(), self.dtype)
        found = slots < self._file.filled
        if found.any():
            begin, end = slots[found].min(), slots[found].max() + 1
            times, positions = self._file.tags(begin, end)
            tags = times.view("M8[s]") if self._field == "time" else positions[:, "xy".index(self._field)]
            values[found] = tags[slots[found] - begin]
        return values


class _Elements(_Slots):
    """The elements of the data."""

    def __init__(self, file, dims, form, dtype, same_axes):
        super().__init__(file, dims, dtype)
        self._form, self._same_axes = form, same_axes
        self._datum_bytes = max(math.prod(form[1]) * form[0].itemsize, 1)
        self.shape += form[1]

    def blocks(self):
        """The shape of blocks that are read well: of neighbours in the file, of about 32 MiB at most."""
        blocks, n = list(self._form[1]), _BLOCK // self._datum_bytes
        for dim in self._dims:
            blocks.insert(0, min(max(n, 1), dim.size))
            n //= dim.size
        return blocks

    def _read(self, keys):
        slots, axes = self._slots(keys[: len(self._dims)]), keys[len(self._dims) :]
        flat = slots.ravel()
        found = np.flatnonzero(flat < self._file.filled)
        found = found[np.argsort(flat[found], kind="stable")]  # as they lie in the file
        part = self._part(np.empty((0, *self._form[1])), axes).shape[1:]
        shape = slots.shape + part
        all_of_it = all(isinstance(k, slice) and range(n)[k] == range(n) for k, n in zip(axes, self._form[1]))
        if all_of_it and self.dtype == self._form[0] and np.array_equal(found, np.arange(len(flat))):
            return self._data(flat).reshape(shape)  # without another copy

        values = np.full((len(flat), *part), self._missing(), self.dtype)
        for some in np.array_split(found, len(found) * self._datum_bytes // _BLOCK + 1):
            values[some] = self._part(self._data(flat[some]), axes)
        return values.reshape(shape)

    def _data(self, slots):
        """The elements of data in these slots, which are filled."""
        if not len(slots):
            return np.empty((0, *self._form[1]), self._form[0])

        def read(file):
            _require_form(self._file.path, file, int(slots[0]), self._form, self._same_axes)
            return file.values(slots.astype(np.int32), self._same_axes)

        return self._file.read(read)

    def _part(self, data, axes):
        for axis in reversed(range(len(axes))):  # an integer takes away its axis
            data = data[(slice(None),) * (axis + 1) + (axes[axis],)]
        return data
