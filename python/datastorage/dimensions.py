"""Dimensions of series."""

import math
import operator
import typing

import numpy as np


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


def fields_of(dim):
    """A dimension as a file keeps it; texts as bytes."""
    if not (isinstance(dim.name, str) and isinstance(dim.units, str)):
        raise TypeError(f"the name and the units of {dim} are texts")
    size, reference = operator.index(dim.size), operator.index(dim.reference)
    offset, delta = float(dim.offset), float(dim.delta)
    # A file marks the reverse order by a negative delta.
    if not 1 <= size < 2**31 or not math.isfinite(offset) or not 0 < delta < math.inf:
        raise ValueError(f"{dim} needs a size of 1 or more, a finite offset and a finite delta above 0")
    if abs(reference) >= 2**31:
        raise ValueError(f"{dim} needs a reference of 32 bits")
    return dim.name.encode(), dim.units.encode(), size, offset, delta, reference, bool(dim.reverse)
