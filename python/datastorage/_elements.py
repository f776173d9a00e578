"""What the elements of an array may be, and how other numbers become such elements."""

import numpy as np

from ._core import ELEMENT_TYPES

_TYPES = tuple(ELEMENT_TYPES.values())
_NAMES = ", ".join(str(dtype) for dtype in _TYPES)


def element_dtype(name):
    """The NumPy type of elements, by its own name or by that of the library.

    >>> element_dtype("ubin16"), element_dtype("float32")
    (dtype('uint16'), dtype('float32'))
    """
    dtype = ELEMENT_TYPES.get(name) if isinstance(name, str) else None
    if dtype is None:
        dtype = np.dtype(name).newbyteorder("=")
        if dtype not in _TYPES:
            raise TypeError(f"elements cannot be {dtype}; the types are {_NAMES}")
    return dtype


def elements_of(data, dtype=None):
    """The numbers of any array-like object as a contiguous array of an element type.

    >>> elements_of([1, 2, 3]).dtype
    dtype('int32')
    >>> elements_of([1.5, 2], "ubin8")
    Traceback (most recent call last):
        ...
    ValueError: 1.5 cannot be stored as uint8
    """
    if _masked(data):
        raise TypeError("elements cannot be masked: fill them first, as by data.filled()")
    target = None if dtype is None else element_dtype(dtype)
    bare = not hasattr(data, "dtype")  # numbers of Python, which have no width
    values = np.asarray(data)
    if target is None:
        target = values.dtype.newbyteorder("=")
        if target not in _TYPES:
            if not (bare and target.kind in "iu"):
                raise TypeError(
                    f"elements cannot be {values.dtype}; the types are {_NAMES}: choose one by dtype="
                )
            target = np.dtype("u4" if values.size and values.max() > 2**31 - 1 else "i4")
    elif values.dtype.kind not in "biufc":
        raise TypeError(f"elements are numbers, not {values.dtype}")
    if values.dtype.kind == "c" and target.kind != "c":
        raise TypeError(f"{values.dtype} elements cannot become {target}: take .real, .imag or abs() of them")
    if target.kind in "iu" and not np.can_cast(values.dtype, target):
        fits = _fits(values, target)
        if not fits.all():
            raise ValueError(f"{values[~fits].flat[0]} cannot be stored as {target}")
    return np.ascontiguousarray(values, target) if values.ndim else values.astype(target)


def elements_among(data, dtype):
    """The same without a type, to be stored among elements of one.

    Integers that have none of the widths of elements, as those of Python, take `dtype` if that holds them
    exactly; so do truth values.

    >>> elements_among([1, 2], np.dtype("u2")).dtype, elements_among([1, -2], np.dtype("u2")).dtype
    (dtype('uint16'), dtype('int32'))
    """
    values = data if isinstance(data, np.ndarray) else np.asarray(data)
    if hasattr(data, "dtype") and values.dtype.newbyteorder("=") in _TYPES:
        return elements_of(data)
    if values.dtype == np.float16 and not _masked(data):
        return values.astype(np.float32)
    if values.dtype.kind not in "iub" or _masked(data):
        return elements_of(data)
    if values.dtype.kind == "b":
        values = values.astype("u1")
    stored = values.astype(dtype)
    same = _fits(values, dtype) if dtype.kind in "iu" else stored.real.astype(values.dtype) == values
    return stored if same.all() else elements_of(values.tolist())


def _masked(data):
    return isinstance(data, np.ma.MaskedArray) and np.ma.is_masked(data)


def _fits(values, target):
    """Whether an integer type holds values exactly."""
    limits = np.iinfo(target)
    with np.errstate(invalid="ignore"):
        fits = (values >= limits.min) & (values <= limits.max)
        return fits & (values == np.trunc(values)) if values.dtype.kind == "f" else fits
