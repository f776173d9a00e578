"""Series of arrays in files."""

from __future__ import annotations

import contextlib
import errno
import math
import operator
import os
import time as _time
import typing
from collections.abc import Iterable, Iterator
from typing import Any, Union, overload

import numpy as np

from . import _core
from ._core import Array, Error, SeriesFile
from ._files import absolute, naming_the_reason, raise_os_error
from ._keys import chosen, pair, seconds
from .dimensions import Dim, fields_of

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


def open(path: Path, mode: str = "r") -> Series:
    """Opens a series file: for reading, or with mode "a" for appending too.

    Readers need no lock and never disturb a writer. A second writer gets BlockingIOError. A writer goes on
    with the checksums that a series has.

    >>> import datastorage as ds
    >>> with ds.create("open.dseries", [ds.Dim("x", "um", 3)]) as s:
    ...     s.append(ds.Array([1, 2]))
    0
    >>> with ds.open("open.dseries") as s:
    ...     s[0].numpy()
    array([1, 2], dtype=int32)
    """
    return Series(path, mode)


def create(path: Path, dims: Iterable[Dim | tuple], *, ndim: int = 1, overwrite: bool = False) -> Series:
    """Creates a series file for data of `ndim` dimensions and opens it for appending.

    `dims` are the dimensions, of which the first varies fastest. An existing file, or labels that an earlier
    one left, are FileExistsError unless `overwrite` is set, which empties the file and removes its labels.
    Checksums of an earlier file are removed.
    """
    made = [Dim(*dim) for dim in dims]
    fields = [fields_of(dim) for dim in made]
    where = absolute(path)
    beside = os.fsdecode(_core.labels_path(os.fsencode(where)))
    for present in (where, beside):
        if not overwrite and os.path.lexists(present):
            raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), present)
    try:
        file = SeriesFile.create(os.fsencode(where), fields, operator.index(ndim), overwrite)
    except OSError as error:
        if not overwrite and error.errno in (errno.ENOSPC, errno.EFBIG, errno.EDQUOT, errno.EIO):
            with contextlib.suppress(OSError):
                os.remove(where)  # incomplete, and not there before
        raise
    except Error:
        slots = math.prod(dim.size for dim in made)
        if slots < 2**27:
            raise
        raise ValueError(f"a series file, which ends at 2 GiB, has no room for {slots} slots") from None
    with naming_the_reason(beside):
        _core.discard_beside(os.fsencode(where))
    series = Series.__new__(Series)
    series._start(where, "a", file)
    return series


class Findings(typing.NamedTuple):
    """What check() found: sentences about faults and about what is unusual, and how many data are whole."""

    fault_count: int
    faults: list[str]
    notes: list[str]
    slots: int
    filled: int
    whole: int


def check(path: Path) -> Findings:
    """Checks all parts of a series file against each other and returns Findings. The file is only read.

    >>> import datastorage as ds
    >>> ds.create("checked.dseries", [ds.Dim("x", "um", 3)]).close()
    >>> ds.check("checked.dseries").faults
    []
    """
    where = absolute(path)
    try:
        return Findings(*_core.check(os.fsencode(where)))
    except Error:
        raise_os_error(where)
        raise


class _Data:
    """What a series and a part of it have in common: a sequence of data."""

    _series: Series
    _indices: range | np.ndarray

    def __len__(self) -> int:
        return len(self._indices)

    def __iter__(self) -> Iterator[Array]:
        return (self._series._datum(i) for i in self._indices)

    def _chosen(self, key):
        """The linear indices that a key selects, or one of them as int."""
        if isinstance(key, tuple):
            return self._by_dimension(key)
        indices = self._indices
        if isinstance(key, slice):
            return indices[key]
        key = chosen(key, len(indices), self._whole)
        return indices[key] if isinstance(key, int) else np.asarray(indices, int)[key]

    def _by_dimension(self, key):
        raise IndexError(f"there is one dimension here, and {len(key)} indices were given")

    def values(self, key: Any = slice(None), *, same_axes: bool = False) -> np.ndarray:
        """The elements of data of equal shape and type as one NumPy array, the data along its first axis.

        Keys are those of s[key], too. Read without the interpreter's lock, straight into the array. Data
        that differ raise ValueError, with `same_axes` also those with another calibration.
        """
        indices = self._chosen(key)
        if isinstance(indices, range):
            indices = np.arange(indices.start, indices.stop, indices.step)
        indices = np.atleast_1d(indices).astype(np.int32)
        file = self._series._file
        if not len(indices):
            dtype, shape = file.head(0)[:2] if file.filled else (np.dtype(float), (0,) * file.ndim)
            return np.empty((0, *shape), dtype)
        return file.values(indices, same_axes)

    def plot(self, key: Any = -1, **options: Any) -> Any:
        """Draws a datum with matplotlib, with the labels of the series; see Array.plot."""
        return self._series._datum(operator.index(self._chosen(key))).plot(
            labels=self._series.labels, **options
        )


class Series(_Data):
    """A series of arrays in a file, each with the time and perhaps the place at which it was taken.

    Opened by open() or create(). Data are read when they are asked for. A series is used by any threads; it
    pickles to its path; a process that was forked reads on, and cannot append.

    >>> import datastorage as ds
    >>> s = ds.create("scan.dseries", [ds.Dim("x", "um", 3, 0.0, 0.5), ds.Dim("y", "um", 2)])
    >>> for i in range(4):
    ...     _ = s.append([i, i * i], time="2024-02-29T12:00", position=(i, 0.5))
    >>> s
    <datastorage.Series scan.dseries: 4 of 6 filled, x (um) 3, y (um) 2>
    >>> s[3].numpy(), s[0, 1].numpy(), s[-1].shape
    (array([3, 9], dtype=int32), array([3, 9], dtype=int32), (2,))
    >>> s.at(x=0.5, y=0).numpy()
    array([1, 1], dtype=int32)
    >>> s.values().shape, s[1:].values()[:, 1]
    ((4, 2), array([1, 4, 9], dtype=int32))
    >>> s.find(position=(2, 0.5)), s.nearest(x=2.6, y=0)
    (2, 3)
    >>> s.tags["time"][0]
    numpy.datetime64('2024-02-29T12:00:00')
    >>> s.close()
    """

    def __init__(self, path: Path, mode: str = "r") -> None:
        if mode not in ("r", "a"):
            raise ValueError(f"mode is 'r' or 'a', not {mode!r}")
        where = absolute(path)
        try:
            file = SeriesFile(os.fsencode(where), mode == "a")
        except Error:
            raise_os_error(where, mode == "a")
            raise
        self._start(where, mode, file)

    def _start(self, where, mode, file):
        self.path = where
        self.mode = mode
        self._file = file
        self._tags = None
        self.dims = tuple(Dim(_text(name), _text(units), *rest) for name, units, *rest in file.dimensions())
        names = [dim.name for dim in self.dims]
        self._names = [n if n and names.count(n) == 1 else f"dim_{d}" for d, n in enumerate(names)]

    # The file

    def close(self) -> None:
        """Closes the file; what uses it later raises ValueError."""
        self._file.close()

    @property
    def closed(self) -> bool:
        """Whether close() was called."""
        return self._file.closed

    def __enter__(self) -> Series:
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __reduce__(self):
        return open, (self.path,)

    def refresh(self) -> int:
        """Finds the data that another process appended meanwhile; returns how many there are now.

        Opens the file again when another one has taken its place; a series that was opened for appending
        raises OSError (ESTALE) then, as it never continues with another file. A file that was removed is
        FileNotFoundError; what was open can still be read. Where the file itself was emptied or overwritten,
        reading is an OSError (ESTALE) until this is called.
        """
        self._refreshed()
        return len(self)

    def _refreshed(self) -> bool:
        """Whether the data known before are still the same."""
        try:
            same = self._file.refresh()
        except Error:
            raise_os_error(self.path)
            raise
        if not same:
            self._start(self.path, self.mode, self._file)
        return same

    def follow(self, *, timeout: float | None = None, poll: float = 0.1) -> Iterator[Array]:
        """Yields each datum that another process appends from now on, as it comes.

        Ends when all slots are filled, or when nothing has come for `timeout` seconds. After the series was
        emptied, or another file has taken its place, all data there are new; what it raises when the file is
        gone or unreadable, as it may be for a moment then, reaches the caller after a second. Where the
        system reports no changes, as of files on a network, the file is looked at every `poll` seconds.

        >>> import datastorage as ds
        >>> writer = ds.create("followed.dseries", [ds.Dim("x", "um", 2)])
        >>> data = ds.open("followed.dseries").follow(timeout=10)
        >>> for i in writer.append([1, 2]), writer.append([3, 4]):
        ...     next(data).numpy()
        array([1, 2], dtype=int32)
        array([3, 4], dtype=int32)
        >>> list(data)
        []
        """
        if not poll > 0 or (timeout is not None and math.isnan(timeout)):
            raise ValueError("poll is more than 0 seconds, and timeout a number of seconds or None")
        return self._followed(len(self), timeout, poll)

    def _followed(self, seen: int, timeout: float | None, poll: float) -> Iterator[Array]:
        changes = _core.FileChanges(os.fsencode(self.path))
        came, failed = _time.monotonic(), None
        while seen < self._file.slots:
            try:
                changes.arm()
                if not self._refreshed():
                    seen = 0
                datum = self._datum(seen) if seen < len(self) else None
            except (Error, OSError):  # it is being emptied or replaced, or was left so
                failed = failed or _time.monotonic()
                if _time.monotonic() - failed > 1:
                    raise
                _time.sleep(0.01)
                continue
            failed = None
            if datum is not None:
                came = _time.monotonic()
                seen += 1
                yield datum
                continue
            left = poll if timeout is None else min(poll, came + timeout - _time.monotonic())
            if left <= 0:
                return
            changes.wait(min(left, 3600))

    # Power cuts and changed bytes

    def set_durability(self, durability: str, *, data: int = 100, milliseconds: int = 1000) -> None:
        """Decides what a power cut may take from the data that are appended from now on.

        "none": what the system has not brought to the disk, as always at first; "group": the data since the
        last sync, which comes with each `data`-th datum, after `milliseconds` at the next one, and when the
        series is closed; "strict": nothing. A sync that fails is final: nothing can be appended any more.
        """
        self._file.set_durability(str(durability), operator.index(data), operator.index(milliseconds))

    def sync(self) -> None:
        """Returns when all data are on the disk."""
        self._file.sync()

    def keep_checksums(self) -> None:
        """Stores a checksum with each datum appended from now on, in a file beside the series."""
        self._file.keep_checksums()

    def seal(self) -> int:
        """Stores checksums for all data that have none; returns for how many.

        Raises Error where there are checksums that are damaged or of other data.

        >>> import datastorage as ds
        >>> with ds.create("sealed.dseries", [ds.Dim("x", "um", 2)]) as s:
        ...     _ = s.append([1, 2])
        ...     s.checked(0), s.seal(), s.checked(0)
        (None, 1, True)
        """
        return self._file.seal()

    def checked(self, index: int) -> bool | None:
        """Whether a datum and its tag are as their checksum says; None where there is none."""
        return self._file.checked(chosen(operator.index(index), len(self), self._whole))

    def __repr__(self) -> str:
        name = os.path.basename(self.path)
        if self.closed:
            return f"<datastorage.Series {name}: closed>"
        sizes = ", ".join(f"{_label(n, dim.units)} {dim.size}" for n, dim in zip(self._names, self.dims))
        return f"<datastorage.Series {name}: {self._count()}, {sizes}>"

    def _repr_html_(self):
        from ._display import series_html

        return series_html(self)

    def _count(self):
        return f"{self._file.filled} of {self._file.slots} filled"

    def _whole(self):
        return f"the data: {self._count()}"

    # Data

    @property
    def _series(self):
        return self

    @property
    def _indices(self):
        return range(self._file.filled)

    def _datum(self, i):
        return self._file.datum(i)

    def __len__(self) -> int:
        return self._file.filled

    @property
    def shape(self) -> tuple[int, ...]:
        """The number of slots along each dimension, of which the first varies fastest."""
        return tuple(dim.size for dim in self.dims)

    @property
    def ndim(self) -> int:
        """The number of dimensions of each datum: 1 or 2."""
        return self._file.ndim

    @property
    def coords(self) -> dict[str, np.ndarray]:
        """The positions along each dimension by its name.

        Dimensions without a name of their own are dim_0, dim_1 ...
        """
        return {name: dim.positions for name, dim in zip(self._names, self.dims)}

    @overload
    def __getitem__(self, key: int) -> Array:
        ...

    @overload
    def __getitem__(self, key: tuple) -> Any:
        ...

    @overload
    def __getitem__(self, key: slice | Iterable) -> Part:
        ...

    def __getitem__(self, key):
        """A datum by its index or by one index for each dimension; lazily several of them.

        Keys are integers, slices, and lists of integers or truth values. With a key for each dimension the
        data come in the order of each key, that of the first dimension fastest, whatever the order in which
        they were acquired; slots that are not filled are left out.

        >>> import datastorage as ds
        >>> s = ds.create("snake.dseries", [ds.Dim("x", "um", 3), ds.Dim("y", "um", 2, reverse=True)])
        >>> for i in range(5):
        ...     _ = s.append([i])
        >>> s[:, 1].indices, s[::-1, :].indices
        (array([0, 1, 2]), array([4, 3, 2, 1, 0]))
        """
        indices = self._chosen(key)
        return self._datum(indices) if isinstance(indices, (int, np.integer)) else Part(self, indices)

    def _by_dimension(self, key):
        if len(key) != len(self.dims):
            raise IndexError(f"the series has {len(self.dims)} dimensions, and {len(key)} indices were given")
        linear, stride = 0, 1
        for axis, (name, dim, k) in enumerate(zip(self._names, self.dims, key)):
            i = chosen(k, dim.size, lambda: f"dimension {name}, which has {dim.size}")
            if not isinstance(i, int):
                i = np.asarray(i, int).reshape([-1] + [1] * axis)
            linear = linear + (dim.size - 1 - i if dim.reverse else i) * stride
            stride *= dim.size
        filled = len(self)
        if isinstance(linear, int):
            if linear >= filled:
                raise IndexError(f"slot {linear} holds no datum yet: {self._count()}")
            return linear
        linear = linear.ravel()
        return linear[linear < filled]

    def head(self, i: int = 0) -> tuple[np.dtype, tuple[int, ...], tuple]:
        """Type, shape and calibration of a datum, as an Array has them. No elements are read."""
        dtype, shape, calibration = self._file.head(self._chosen(operator.index(i)))
        return dtype, tuple(shape), calibration

    def at(self, **position: float) -> Array:
        """The datum at a position along the dimensions, given by their names."""
        unknown = set(position) ^ set(self._names)
        if unknown:
            raise KeyError(f"the dimensions are {', '.join(self._names)}: each needs a position")
        wanted = [float(position[name]) for name in self._names]
        indices = self._file.indices_at(wanted)
        for name, dim, x, i in zip(self._names, self.dims, wanted, indices):
            if not 0 <= i < dim.size:
                ends = dim.positions
                raise IndexError(
                    f"{x} is outside dimension {name}, which reaches from {ends[0]} to {ends[-1]}"
                )
        return self[tuple(indices)]

    def append(self, datum: Any, *, time: Any = None, position: tuple[float, float] | None = None) -> int:
        """Appends an array and returns its index. It is in the file when this returns.

        `time` is the present by default, or seconds since 1970, a datetime (without a zone: local time), a
        datetime64, a Timestamp of pandas or a text of ISO 8601 (without a zone: UTC); a series keeps whole
        seconds, of 32 bits. Either all data have a `position` (x, y) or none.
        """
        if not isinstance(datum, Array):
            datum = Array(datum)
        time = int(_time.time()) if time is None else seconds(time)
        if not -(2**31) <= time < 2**31:
            raise ValueError(f"a series file has no room for the time {time}")
        return self._file.append(datum, time, None if position is None else pair(position))

    # Tags

    @property
    def tags(self) -> np.ndarray:
        """The times of all data: a structured array with the field time.

        Where the tags hold positions, it has the fields x and y, too.
        """
        tags, filled = self._tags, len(self)  # other threads may set _tags meanwhile
        known = 0 if tags is None else len(tags)
        if tags is None or known < filled:
            times, positions = self._file.tags(known, filled)
            fields = [("time", "M8[s]")] + ([] if positions is None else [("x", "f8"), ("y", "f8")])
            grown = np.empty(filled, fields)
            if known:
                grown[:known] = tags
            grown["time"][known:] = times.view("M8[s]")
            if positions is not None:
                grown["x"][known:], grown["y"][known:] = positions.T
            grown.flags.writeable = False
            self._tags = tags = grown
        return tags

    def find(self, *, time: Any = None, position: tuple[float, float] | None = None) -> int:
        """The index of the first datum with this time and this position; KeyError if there is none."""
        if time is None and position is None:
            raise TypeError("find() needs a time or a position")
        tags = self.tags
        same = np.ones(len(tags), bool)
        if time is not None:
            same &= tags["time"].astype(np.int64) == seconds(time)
        if position is not None:
            x, y = pair(position)
            same &= (tags["x"] == x) & (tags["y"] == y) if "x" in tags.dtype.names else False
        found = np.flatnonzero(same)
        if not len(found):
            raise KeyError(f"no datum has {'' if time is None else f'time {time} '}{position or ''}".rstrip())
        return int(found[0])

    def nearest(self, *, time: Any = None, **position: float) -> int:
        """The index of the datum nearest to a place and, among several there, to a time.

        The place is x and y of the tags or, if those have none, a position along each dimension, in
        steps of it; then `time` is the position along a dimension of that name, if there is one. Without
        data it raises KeyError.
        """
        tags = self.tags
        if not len(tags):
            raise KeyError("the series has no data")
        tagged = "x" in tags.dtype.names
        names = ["x", "y"] if tagged else self._names
        if time is not None and "time" in names:
            position["time"], time = time, None
        keys = [np.abs(tags["time"].astype(float) - seconds(time))] if time is not None else []
        if position or not keys:
            if set(position) != set(names):
                raise KeyError(f"a place here is {', '.join(names)}")
            position = {name: float(x) for name, x in position.items()}
            if not np.isfinite(list(position.values())).all():
                raise ValueError("a place needs finite coordinates")
            if tagged:
                steps = [tags[name] - position[name] for name in names]
            else:
                places = np.unravel_index(np.arange(len(tags)), self.shape, order="F")
                steps = [
                    (dim.positions[:: -1 if dim.reverse else 1][i] - position[name]) / dim.delta
                    for name, dim, i in zip(names, self.dims, places)
                ]
            keys.append(np.sqrt(np.sum(np.square(steps), axis=0)))
        return int(np.lexsort(keys)[0])

    # Beside the file

    @property
    def labels(self) -> dict[str, Any]:
        """What the file has no place for: the names and units of axes and values, and any attributes.

        A dict with the members "title", "axes" ("x" and "y", each with "name" and "units"), "value" ("name",
        "units") and "attributes", all optional. Read from and written to NAME.dseries.json beside the file.

        >>> import datastorage as ds
        >>> with ds.create("labels.dseries", [ds.Dim("x", "um", 3)]) as s:
        ...     s.labels = {"axes": {"x": {"name": "Energy", "units": "eV"}}, "attributes": {"sample": "A7"}}
        ...     s.labels["axes"]["x"]["units"]
        'eV'
        """
        import json

        path = os.fsencode(self.path)
        with naming_the_reason(os.fsdecode(_core.labels_path(path))):
            return json.loads(_core.read_labels(path))

    @labels.setter
    def labels(self, labels: dict[str, Any]) -> None:
        import json

        path = os.fsencode(self.path)
        with naming_the_reason(os.fsdecode(_core.labels_path(path))):
            _core.write_labels(path, json.dumps(labels))

    def to_xarray(self, **options: Any) -> Any:
        """The series as an xarray.Dataset with labelled axes, which reads lazily."""
        from .xarray_backend import to_xarray  # type: ignore[import]

        return to_xarray(self, **options)


class Part(_Data):
    """Some data of a series, in an order: what a slice of a series is.

    Nothing is read before it is asked for.
    """

    def __init__(self, series: Series, indices: range | np.ndarray) -> None:
        self._series = series
        self._indices = indices

    @property
    def indices(self) -> np.ndarray:
        """The indices of the data in the series."""
        return np.asarray(self._indices, int)

    @property
    def tags(self) -> np.ndarray:
        """The tags of the data; see Series.tags."""
        return self._series.tags[self.indices]

    @overload
    def __getitem__(self, key: int) -> Array:
        ...

    @overload
    def __getitem__(self, key: slice | Iterable) -> Part:
        ...

    def __getitem__(self, key):
        """A datum by its place in this part; lazily several of them."""
        indices = self._chosen(key)
        if isinstance(indices, (int, np.integer)):
            return self._series._datum(indices)
        return Part(self._series, indices)

    def __repr__(self):
        return f"<{len(self)} data of {self._series!r}>"

    def _whole(self):
        return f"this part, which has {len(self)}"


def _text(bytes_of_file):
    try:
        return bytes_of_file.decode()
    except UnicodeDecodeError:
        return bytes_of_file.decode("latin-1")


def _label(name, units):
    return f"{name} ({units})" if units else name
