"""Series of arrays in files."""

from __future__ import annotations

import contextlib
import errno
import math
import operator
import os
import stat
import time as _time
import typing
from collections.abc import Iterable, Iterator
from typing import Any, Union, overload

import numpy as np

from . import _core
from ._core import Array, Error, SeriesFile


Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


class Dim(typing.NamedTuple):
    """A dimension of a series: index i lies at offset + (i - reference) * delta.

    Data are acquired from the highest index down where `reverse` is set.

    >>> import datastorage as ds
    >>> ds.Dim("x", "um", 200, 0.0, 0.5).positions[-1]
    99.5
    """

    name: str
    units: str
    size: int
    offset: float = 0.0
    delta: float = 1.0
    reference: int = 0
    reverse: bool = False

    @property
    def positions(self) -> np.ndarray:
        """The positions of all indices."""
        return self.offset + (np.arange(self.size) - self.reference) * self.delta


def open(path: Path, mode: str = "r") -> Series:
    """Opens a series file: for reading, or with mode "a" for appending too.

    Readers need no lock and never disturb a writer. A second writer gets BlockingIOError.

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

    `dims` are the dimensions, of which the first varies fastest. An existing file is FileExistsError unless
    `overwrite` is set, which empties it.
    """
    made = [Dim(*dim) for dim in dims]
    for dim in made:
        # A file marks the reverse order by a negative delta.
        if dim.size < 1 or not math.isfinite(dim.offset) or not 0 < dim.delta < math.inf:
            raise ValueError(f"{dim} needs a size of 1 or more, a finite offset and a finite delta above 0")
    where = _absolute(path)
    if not overwrite and os.path.lexists(where):
        raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), where)
    fields = [(dim.name.encode(), dim.units.encode(), *dim[2:]) for dim in made]
    try:
        file = SeriesFile.create(os.fsencode(where), fields, ndim, overwrite)
    except OSError as error:
        if not overwrite and error.errno in (errno.ENOSPC, errno.EFBIG, errno.EDQUOT, errno.EIO):
            with contextlib.suppress(OSError):
                os.remove(where)  # incomplete, and not there before
        raise
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
    where = _absolute(path)
    try:
        return Findings(*_core.check(os.fsencode(where)))
    except Error:
        _raise_os_error(where)
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
        indices = self._indices
        if isinstance(key, slice):
            return indices[key]
        if isinstance(key, (list, np.ndarray)):
            key = np.asarray(key)
            if key.size == 0:
                return indices[:0]
            if key.dtype.kind not in "iub":
                raise TypeError(f"data are chosen by integers or truth values, not {key.dtype}")
            return np.asarray(indices)[key]
        i = operator.index(key)
        if not -len(indices) <= i < len(indices):
            raise IndexError(f"there is no datum {i}: {self._count()}")
        return indices[i]

    def values(self, key: Any = slice(None), *, same_axes: bool = False) -> np.ndarray:
        """The elements of data of equal shape and type as one NumPy array, the data along its first axis.

        Read without the interpreter's lock, straight into the array. Data that differ raise ValueError, with
        `same_axes` also those with another calibration.
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


class Series(_Data):
    """A series of arrays in a file, each with the time and perhaps the place at which it was taken.

    Opened by open() or create(). Data are read when they are asked for. A series is used by any threads; it
    pickles to its path, and a process that was forked opens the file again before it reads.

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
        where = _absolute(path)
        try:
            file = SeriesFile(os.fsencode(where), mode == "a")
        except Error:
            _raise_os_error(where, mode == "a")
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

        Opens the file again when another one has taken its place. A file that was removed is
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
            _raise_os_error(self.path)
            raise
        if not same:
            self._start(self.path, self.mode, self._file)
        return same

    def follow(self, *, timeout: float | None = None, poll: float = 0.1) -> Iterator[Array]:
        """Yields each datum that another process appends from now on, as it comes.

        Ends when all slots are filled, or when nothing has come for `timeout` seconds. After the series was
        emptied, or another file has taken its place, all data there are new. Where the system reports no
        changes, as of files on a network, the file is looked at every `poll` seconds.

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
        return self._followed(len(self), timeout, poll)

    def _followed(self, seen: int, timeout: float | None, poll: float) -> Iterator[Array]:
        changes = _core.FileChanges(os.fsencode(self.path))
        came = _time.monotonic()
        while seen < self._file.slots:
            changes.arm()
            if not self._refreshed():
                seen = 0
            if seen < len(self):
                came = _time.monotonic()
                try:
                    datum = self._datum(seen)
                except OSError as error:
                    if error.errno != errno.ESTALE:
                        raise
                    continue
                seen += 1
                yield datum
                continue
            left = poll if timeout is None else min(poll, came + timeout - _time.monotonic())
            if left <= 0:
                return
            changes.wait(left)

    # Power cuts and changed bytes

    def set_durability(self, durability: str, *, data: int = 100, milliseconds: int = 1000) -> None:
        """Decides what a power cut may take from the data that are appended from now on.

        "none": what the system has not brought to the disk, as always at first; "group": the data since the
        last sync, which comes with each `data`-th datum, after `milliseconds` at the next one, and when the
        series is closed; "strict": nothing. A sync that fails is final: nothing can be appended any more.
        """
        self._file.set_durability(durability, data, milliseconds)

    def sync(self) -> None:
        """Returns when all data are on the disk."""
        self._file.sync()

    def keep_checksums(self) -> None:
        """Stores a checksum with each datum appended from now on, in a file beside the series."""
        self._file.keep_checksums()

    def seal(self) -> int:
        """Stores checksums for all data that have none; returns for how many.

        >>> import datastorage as ds
        >>> with ds.create("sealed.dseries", [ds.Dim("x", "um", 2)]) as s:
        ...     _ = s.append([1, 2])
        ...     s.checked(0), s.seal(), s.checked(0)
        (None, 1, True)
        """
        return self._file.seal()

    def checked(self, index: int) -> bool | None:
        """Whether a datum and its tag are as their checksum says; None where there is none."""
        return self._file.checked(operator.index(index))

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
    def __getitem__(self, key: slice | list | np.ndarray) -> Part:
        ...

    @overload
    def __getitem__(self, key: tuple) -> Any:
        ...

    def __getitem__(self, key):
        """A datum by its index or by one index for each dimension; lazily several of them."""
        indices = self._by_dimension(key) if isinstance(key, tuple) else self._chosen(key)
        return self._datum(indices) if isinstance(indices, (int, np.integer)) else Part(self, indices)

    def _by_dimension(self, key):
        if len(key) != len(self.dims):
            raise IndexError(f"the series has {len(self.dims)} dimensions, and {len(key)} indices were given")
        linear, stride = 0, 1
        for axis, (dim, k) in enumerate(zip(self.dims, key)):
            if isinstance(k, slice):
                i = np.arange(dim.size)[k].reshape([-1] + [1] * axis)
            else:
                i = operator.index(k)
                if not -dim.size <= i < dim.size:
                    raise IndexError(
                        f"index {i} is outside dimension {self._names[axis]}, which has {dim.size}"
                    )
                i %= dim.size
            linear = linear + (dim.size - 1 - i if dim.reverse else i) * stride
            stride *= dim.size
        filled = len(self)
        if isinstance(linear, int):
            if linear >= filled:
                raise IndexError(f"slot {linear} holds no datum yet: {self._count()}")
            return linear
        linear = np.sort(linear, axis=None)
        return linear[linear < filled]

    def head(self, i: int = 0) -> tuple[np.dtype, tuple[int, ...], tuple]:
        """Type, shape and calibration of a datum, as an Array has them. No elements are read."""
        dtype, shape, calibration = self._file.head(self._chosen(i))
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
        datetime64 or a text of ISO 8601 (both UTC); a series keeps whole seconds. Either all data have a
        `position` (x, y) or none.
        """
        if not isinstance(datum, Array):
            datum = Array(datum)
        return self._file.append(datum, _seconds(time), position)

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
            same &= tags["time"] == np.datetime64(_seconds(time), "s")
        if position is not None:
            x, y = position
            same &= (tags["x"] == x) & (tags["y"] == y) if "x" in tags.dtype.names else False
        found = np.flatnonzero(same)
        if not len(found):
            raise KeyError(f"no datum has {'' if time is None else f'time {time} '}{position or ''}".rstrip())
        return int(found[0])

    def nearest(self, *, time: Any = None, **position: float) -> int:
        """The index of the datum nearest to a place and, among several there, to a time.

        The place is x and y of the tags or, if those have none, a position along each dimension, in
        steps of it. Without data it raises KeyError.
        """
        tags = self.tags
        if not len(tags):
            raise KeyError("the series has no data")
        keys = [np.abs(tags["time"].astype(float) - _seconds(time))] if time is not None else []
        if position or not keys:
            tagged = "x" in tags.dtype.names
            names = ["x", "y"] if tagged else self._names
            if set(position) != set(names):
                raise KeyError(f"a place here is {', '.join(names)}")
            if tagged:
                steps = [tags[name] - position[name] for name in names]
            else:
                places = np.unravel_index(np.arange(len(tags)), self.shape, order="F")
                steps = [
                    (dim.positions[:: -1 if dim.reverse else 1][i] - position[name]) / dim.delta
                    for name, dim, i in zip(names, self.dims, places)
                ]
            if not np.isfinite(list(position.values())).all():
                raise ValueError("a place needs finite coordinates")
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

        return json.loads(_core.read_labels(os.fsencode(self.path)))

    @labels.setter
    def labels(self, labels: dict[str, Any]) -> None:
        import json

        _core.write_labels(os.fsencode(self.path), json.dumps(labels))

    def to_xarray(self, **options: Any) -> Any:
        """The series as an xarray.Dataset with labelled axes, which reads lazily."""
        from .xarray_backend import to_xarray  # type: ignore[import]

        return to_xarray(self, **options)

    def plot(self, key: Any = -1, **options: Any) -> Any:
        """Draws a datum with matplotlib, with the labels of the series; see Array.plot."""
        return self[key].plot(labels=self.labels, **options)


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
        return np.asarray(self._indices)

    @property
    def tags(self) -> np.ndarray:
        """The tags of the data; see Series.tags."""
        return self._series.tags[self.indices]

    @overload
    def __getitem__(self, key: int) -> Array:
        ...

    @overload
    def __getitem__(self, key: slice | list | np.ndarray) -> Part:
        ...

    def __getitem__(self, key):
        """A datum by its place in this part; lazily several of them."""
        indices = self._chosen(key)
        if isinstance(indices, (int, np.integer)):
            return self._series._datum(indices)
        return Part(self._series, indices)

    def __repr__(self):
        return f"<{len(self)} data of {self._series!r}>"

    def _count(self):
        return f"this part has {len(self)}"


def _absolute(path):
    path = os.fsdecode(path)
    if "\0" in path:
        raise ValueError("embedded null byte in a path")
    return os.path.abspath(path)


def _text(bytes_of_file):
    try:
        return bytes_of_file.decode()
    except UnicodeDecodeError:
        return bytes_of_file.decode("latin-1")


def _label(name, units):
    return f"{name} ({units})" if units else name


def _seconds(time):
    if time is None:
        return int(_time.time())
    if hasattr(time, "timestamp"):
        time = time.timestamp()
    if isinstance(time, (int, float, np.integer, np.floating)) and not isinstance(time, np.timedelta64):
        return math.floor(time)
    return int(np.datetime64(time, "s").astype(np.int64))


def _raise_os_error(path, writing=False):
    """Raises what the system says about a file that cannot be opened, if it says something."""
    flags = os.O_RDWR if writing else os.O_RDONLY
    descriptor = os.open(path, flags | os.O_NONBLOCK | os.O_CLOEXEC)
    try:
        kind = os.fstat(descriptor).st_mode
    finally:
        os.close(descriptor)
    if stat.S_ISDIR(kind):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), path)
