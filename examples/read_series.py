#!/usr/bin/env python3
"""Reads a series file of 1D or 2D data arrays with Python's standard library alone (docs/series-file.md).

usage: read_series.py FILE         prints the dimensions, and each datum's indices, tag, axis and first elements
As a module: `for indices, tag, axes, elements in read_series.Series(path): ...`
"""
import math
import struct
import sys
from array import array

ARRAY_1D, ARRAY_2D, TIME_TAG, POSITION_TAG = 0x0121, 0x0122, 0x0150, 0x0132
ELEMENTS = {1: "B", 2: "H", 3: "I", 4: "b", 5: "h", 6: "i", 7: "f", 8: "d", 9: "f", 10: "d"}


class Series:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.bytes = file.read()
        mark, form, version, self.data_type, _, total, count, lists = self.unpack("HHHIIiii", 0)
        if (mark, form, version) != (0x4949, 0x5344, 0x0210):
            raise ValueError("not a series file")
        if total < 1 or not 0 <= count <= total or not 26 <= lists <= len(self.bytes) - 8 * total:
            raise ValueError("damaged header")
        self.dimensions, at = [], 30
        for _ in range(self.unpack("i", 26)[0]):
            size, offset, delta, index = self.unpack("iddi", at)
            description, at = self.text(at + 24)
            units, at = self.text(at)
            reverse = delta < 0
            self.dimensions.append(dict(size=size, offset=offset, delta=abs(delta), reverse=reverse, units=units,
                                        index=size - index if reverse else index, description=description))
        if math.prod(d["size"] for d in self.dimensions) != total:
            raise ValueError("the dimensions do not fit the slots")
        self.data = self.unpack(f"{count}i", lists)
        self.tags = self.unpack(f"{count}i", lists + 4 * total)

    def unpack(self, layout, at):
        return struct.unpack_from("<" + layout, self.bytes, at)

    def text(self, at):
        end = at + 4 + self.unpack("i", at)[0]
        return self.bytes[at + 4:end].decode("utf-8", "replace"), end

    def indices(self, slot):
        for d in self.dimensions:
            slot, i = divmod(slot, d["size"])
            yield d["size"] - i - 1 if d["reverse"] else i

    def __iter__(self):
        """Yields (indices, (time, position...), [(offset, delta, reference index) of each axis], elements)."""
        axes = {ARRAY_1D: 1, ARRAY_2D: 2}[self.data_type]
        for slot, (at, tag) in enumerate(zip(self.data, self.tags)):
            calibration = [self.unpack("ddi", at + 20 * axis) for axis in range(axes)]
            kind, *extents = self.unpack(f"H{axes}i", at + 20 * axes)
            elements = array(ELEMENTS[kind], self.bytes[at + 24 * axes + 2:tag])
            if sys.byteorder == "big":
                elements.byteswap()
            if len(elements) != math.prod(extents) * (2 if kind > 8 else 1):
                raise ValueError(f"datum {slot} is damaged")
            stamp = self.unpack("idd" if self.unpack("I", tag)[0] == POSITION_TAG else "i", tag + 4)
            yield tuple(self.indices(slot)), stamp, calibration, elements


if __name__ == "__main__":
    series = Series(sys.argv[1])
    print(*series.dimensions, sep="\n")
    for datum in series:
        print(*datum[:3], datum[3][:4].tolist())
