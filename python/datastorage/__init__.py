"""Measured data: arrays with physical axes, and series of them in files.

What was appended to a series survives the process that wrote it.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9], dtype="ubin16", offset=20.0, delta=0.5)
>>> a.at(20.25, interpolation="linear")
2.5
"""

from ._core import Array, Error, Position, Position2D, PositionList, Range, Range2D, __version__
from .dimensions import Dim
from .series import Findings, Part, Series, check, create, open

__all__ = [
    "Array",
    "Dim",
    "Error",
    "Findings",
    "Part",
    "Position",
    "Position2D",
    "PositionList",
    "Range",
    "Range2D",
    "Series",
    "check",
    "create",
    "open",
]
