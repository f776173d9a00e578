#!/usr/bin/env python3
"""Reads a series file of 1D or 2D data arrays with only Python's standard library (docs/series-file.md).

read_series.py FILE prints the dimensions and, for each datum, its indices, tag, axes and first elements.
As a module: for indices, tag, axes, elements in read_series.Series(path): ...
"""
import math
import struct
import sys

AXES = {0x0121: 1, 0x0122: 2}  # number of axes of the data, by data type
POSITION_TAG = 0x0132
ELEMENTS = "BHIbhifdfd"  # struct codes of element types 1 to 10; the last two are complex


class Series:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.bytes = file.read()
        mark, form, version, self.data_type, _, total, count, lists = self.unpack("HHHIIiii", 0)
        if (mark, form, version) != (0x4949, 0x5344, 0x0210) or not 0 <= count <= total:
            raise ValueError("not a series file, or a damaged one")
        self.dimensions, at = [], 30
        for _ in range(*self.unpack("i", 26)):
            size, offset, delta, index = self.unpack("iddi", at)
            description, at = self.text(at + 24)
            units, at = self.text(at)
            self.dimensions.append(dict(name=description, units=units, size=size, offset=offset, delta=abs(delta),
                                        index=size - index if delta < 0 else index, reverse=delta < 0))
        self.places = list(zip(self.unpack(f"{count}i", lists), self.unpack(f"{count}i", lists + 4 * total)))

    def unpack(self, layout, at):
        return struct.unpack_from("<" + layout, self.bytes, at)

    def text(self, at):
        end = at + 4 + self.unpack("i", at)[0]
        return self.bytes[at + 4:end].decode("utf-8", "replace"), end

    def indices(self, slot):
        for axis in self.dimensions:
            slot, i = divmod(slot, axis["size"])
            yield axis["size"] - i - 1 if axis["reverse"] else i

    def __iter__(self):
        """Yields (indices, (time,) or (time, x, y), [(offset, delta, reference index), ...], elements)."""
        axes = AXES[self.data_type]
        for slot, (at, tag) in enumerate(self.places):
            calibration = [self.unpack("ddi", at + 20 * axis) for axis in range(axes)]
            kind, *extents = self.unpack(f"H{axes}i", at + 20 * axes)
            numbers = math.prod(extents) * (2 if kind > 8 else 1)
            elements = self.unpack(f"{numbers}{ELEMENTS[kind - 1]}", at + 24 * axes + 2)
            stamp = self.unpack("idd" if self.unpack("I", tag)[0] == POSITION_TAG else "i", tag + 4)
            yield tuple(self.indices(slot)), stamp, calibration, elements


if __name__ == "__main__":
    print(*Series(sys.argv[1]).dimensions, sep="\n")
    for datum in Series(sys.argv[1]):
        print(*datum[:3], datum[3][:4])
