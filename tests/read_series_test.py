"""Checks that examples/read_series.py reads from series files what the tool shows of them.

usage: read_series_test.py EXAMPLES DSERIES
"""
import datetime
import json
import math
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, sys.argv[1])
import read_series

DATA = os.path.join(sys.argv[1], "data")


def dseries(*arguments):
    return subprocess.run([sys.argv[2], *arguments], check=True, capture_output=True, text=True).stdout


def position(axis, i):
    return (i - axis["index"]) * axis["delta"] + axis["offset"]


def same(a, b):
    return math.isnan(a) and math.isnan(b) or math.isclose(a, b, rel_tol=1e-6, abs_tol=1e-12)


def check(path, expected_data):
    series = read_series.Series(path)
    told = json.loads(dseries("info", path, "--json"))["dimensions"]
    assert series.dimensions == [{("index" if k == "reference_index" else k): v for k, v in d.items()} for d in told]
    data, told = list(series), json.loads(dseries("list", path, "--json"))
    assert len(data) == len(told) == expected_data
    for (indices, (time, *place), axes, elements), datum in zip(data, told):
        assert list(indices) == datum["index"], datum
        assert [position(axis, i) for axis, i in zip(series.dimensions, indices)] == datum["position"], datum
        assert f"{datetime.datetime.fromtimestamp(time, datetime.timezone.utc):%Y-%m-%dT%H:%M:%SZ}" == datum["time"], datum
        assert place == datum.get("tag_position", []), datum
        row = ["--row-at", repr(axes[1][0])] if len(axes) == 2 else []  # the reference element is the first one
        text = dseries("get", path, str(datum["datum"]), *row, "-o", "-").split()
        offset, delta, index = axes[0]
        for i, (x, value) in enumerate(zip(text[::2], text[1::2])):
            assert same(float(x), (i - index) * delta + offset) and same(float(value), elements[i]), (datum, i)
        assert len(axes) == 2 or len(text) == 2 * len(elements)


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    dseries("create", "spectra.dseries", "--dim", "sample,,3,1,1")
    for i, kind in enumerate(("float64", "ubin16")):
        dseries("append", "spectra.dseries", f"{DATA}/diffraction_nacl.dat", "--type", kind, "--time", f"{10 ** 9 + i}")
    check("spectra.dseries", 2)

    dseries("create", "raster.dseries", "--dim", "x,µm,3,-1,0.5,reverse", "--dim", "y,µm,2,10,0.25", "--dim", "t,s,4,0,60")
    dseries("append", "raster.dseries", f"{DATA}/diffraction_nacl.dat", "--type", "sbin32", "--at", "1.5,-2")
    with open("raw", "wb") as raw:
        raw.write(open(f"{DATA}/sea_surface_temperature.f32", "rb").read()[200000:200000 + 22 * 48])
    dseries("append", "raster.dseries", "raw", "--raw", "12", "--tag-position", "--offset", "-5", "--delta", "0.1")
    check("raster.dseries", 23)

    dseries("create", "maps.dseries", "--images", "--dim", "month,,12,0,1")
    dseries("append", "maps.dseries", f"{DATA}/sea_surface_temperature.f32", "--raw", "180,90", "--offset", "21,-89", "--delta", "2,2")
    check("maps.dseries", 12)
