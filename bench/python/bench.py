#!/usr/bin/env python3
"""Measures the Python module beside h5py and NumPy on the same data: 20,000 data of 2048 two-byte integers.

usage: bench.py [--record PAGE] [BENCH]

BENCH is the program datastorage_bench, whose append is compared. With --record the table replaces the one between
the two marks in the page. Files are written in the current folder, whose disk is measured, and removed. The fastest
of several runs counts, in processor time, which other programs disturb least; threads in time of the clock."""

import json
import os
import pathlib
import pickle
import resource
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

import dask
import dask.array
import h5py
import numpy as np
import xarray

import datastorage as ds

DATA, LENGTH, FILES = 20_000, 2048, 1000
PER_FILE = DATA // FILES
MARKS = ("<!-- python begins -->\n", "<!-- python ends -->\n")


def fastest(*works, runs=7, repeat=1, clock=time.process_time):
    """The seconds that each of the works takes at best, when they take turns."""
    best = [float("inf")] * len(works)
    for work in works:
        work()
    for _ in range(runs):
        for i, work in enumerate(works):
            start = clock()
            for _ in range(repeat):
                work()
            best[i] = min(best[i], (clock() - start) / repeat)
    return best


def time_of_import(module):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run([sys.executable, "-c", f"import {module}"], check=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def time_text(seconds):
    for unit, factor in (("s", 1), ("ms", 1e3), ("us", 1e6), ("ns", 1e9)):
        if seconds * factor >= 1:
            return f"{seconds * factor:.3g} {unit}"
    return "0 ns"


def against(work, ours, other, name, most):
    ratio = ours / other
    met = "yes" if ratio <= most * 1.02 else "**no**"
    return work, time_text(ours), f"{time_text(other)} {name}", f"{ratio:.3g}", f"≤ {most:g}", met


def within(work, ours, most):
    return work, time_text(ours), "", "", f"≤ {time_text(most)}", "yes" if ours <= most * 1.02 else "**no**"


def starting():
    imports = [[time_of_import(module) for module in ("datastorage", "numpy")] for _ in range(12)]
    ours, numpy = map(min, zip(*imports))
    yield against("`import datastorage`", ours, numpy, "`import numpy`", 1.3)
    array = ds.Array(np.zeros(LENGTH, "u2"))
    yield within("view of an array", *fastest(array.numpy, repeat=10_000), 1e-6)


def write(numbers):
    numbers.tofile("raw")
    with h5py.File("data.h5", "w") as file:
        file["data"] = numbers  # contiguous, which h5py reads fastest
    with ds.create("data.dseries", [ds.Dim("x", "um", 200), ds.Dim("y", "um", DATA // 200)]) as series:
        for i, datum in enumerate(numbers):
            series.append(datum, time=i)
    for k in range(FILES):
        with ds.create(f"run{k:04}.dseries", [ds.Dim("x", "um", PER_FILE)]) as series:
            for i in range(PER_FILE):
                series.append(numbers[k * PER_FILE + i], time=i)


def reading(numbers):
    yield within(
        "`xarray.open_dataset`", *fastest(lambda: xarray.open_dataset("data.dseries"), repeat=10), 5e-3
    )
    series, dataset = ds.open("data.dseries"), h5py.File("data.h5")["data"]
    assert (series.values() == numbers).all() and (dataset[:] == numbers).all()
    ours, h5, raw = fastest(series.values, lambda: dataset[:], lambda: np.fromfile("raw", "u2"))
    yield against("all values", ours, raw, "`numpy.fromfile`", 1.5)
    yield against("all values", ours, h5, "h5py", 1)
    lazy = fastest(lambda: xarray.open_dataset("data.dseries").data.values)[0]
    yield against("all values, by xarray", lazy, h5, "h5py", 1)

    places = [i * 7919 % DATA for i in range(500)]
    ours, h5 = fastest(lambda: [series[i].numpy() for i in places], lambda: [dataset[i] for i in places])
    yield against("one datum at random", ours / len(places), h5 / len(places), "h5py", 1)

    halves = [slice(0, DATA // 2), slice(DATA // 2, DATA)]

    def plain(half):
        return np.fromfile("raw", "u2", DATA // 2 * LENGTH, offset=half.start * LENGTH * 2)

    with ThreadPoolExecutor(2) as threads:
        works = [
            lambda f=f, m=m: list(m(f, halves)) for f in (series.values, plain) for m in (threads.map, map)
        ]
        both, one, both_plain, one_plain = fastest(*works, runs=30, clock=time.perf_counter)
    yield (
        "two halves by two threads",
        time_text(both),
        f"{time_text(one)} one thread",
        f"1/{one / both:.3g} (`fromfile` 1/{one_plain / both_plain:.3g})",
        "≤ 1/1.7",
        "yes" if one / both >= 1.7 / 1.02 else "**no**",
    )


def appending(numbers, bench):
    some = numbers[:2000]
    arrays = [ds.Array(datum) for datum in some]

    def by_us():
        with ds.create("new.dseries", [ds.Dim("x", "um", len(arrays))], overwrite=True) as series:
            yield
            for array in arrays:
                series.append(array, time=0)
            yield

    def by_h5py():
        with h5py.File("new.h5", "w") as file:
            growing = {"maxshape": (None, LENGTH), "chunks": (1, LENGTH)}
            dataset = file.create_dataset("data", (0, LENGTH), "u2", **growing)
            yield
            for i, datum in enumerate(some):
                dataset.resize(i + 1, axis=0)
                dataset[i] = datum
                file.flush()
            yield

    def time_of_appending(steps):
        next(steps)
        start = time.process_time()
        next(steps)
        return (time.process_time() - start) / len(some)

    ours, h5 = (min(time_of_appending(way()) for _ in range(7)) for way in (by_us, by_h5py))
    if bench:
        command = [bench, "--benchmark_filter=^D/append_array/4K/ours", "--benchmark_format=json"]
        command += [
            "--benchmark_repetitions=9",
            "--benchmark_min_time=0.05",
        ]  # into new pages of a file, as here
        result = json.loads(subprocess.run(command, check=True, capture_output=True).stdout)
        cpp = min(run["cpu_time"] for run in result["benchmarks"] if run["run_type"] == "iteration") * 1e-9
        yield against("append of 4 KiB", ours, cpp, "C++", 1.5)
    yield against("append of 4 KiB", ours, h5, "h5py with flush", 1)


def many_files():
    files = [f"run{k:04}.dseries" for k in range(FILES)]
    options = {
        "combine": "nested",
        "concat_dim": "run",
        "coords": "all",
        "join": "exact",
        "inline_array": True,
    }
    work = f"{FILES} files by `open_mfdataset`"
    yield within(work, *fastest(lambda: xarray.open_mfdataset(files, **options), runs=3), 1.6)
    bare = {**options, "drop_variables": ["tag_time"]}
    yield within(f"{work}, no times", *fastest(lambda: xarray.open_mfdataset(files, **bare), runs=3), 1.6)

    @dask.delayed(pure=True)
    def values(file):
        with ds.open(file) as series:
            return series.values()

    def graph():
        return dask.array.stack([dask.array.from_delayed(values(f), (PER_FILE, LENGTH), "u2") for f in files])

    yield within(f"graph of {FILES} files by delayed reads", *fastest(graph), 0.2)


def sizes():
    lazy = xarray.open_dataset("data.dseries").data.variable._data
    for what, thing in (("a series", ds.open("data.dseries")), ("a lazy array", lazy)):
        size = len(pickle.dumps(thing))
        yield f"pickle of {what}", f"{size} bytes", "", "", "≤ 1 KiB", "yes" if size <= 1024 else "**no**"


def processor():
    lines = pathlib.Path("/proc/cpuinfo").read_text().splitlines()
    names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    return f"{names[0] if names else 'an unknown processor'} ({os.cpu_count()} cores)"


def table(bench):
    numbers = np.random.default_rng(1).integers(0, 60_000, (DATA, LENGTH)).astype("u2")
    write(numbers)
    rows = [("work", "ours", "beside", "ratio", "target", "met")]
    for part in (starting(), reading(numbers), appending(numbers, bench), many_files(), sizes()):
        rows += part
    rows.insert(1, ("---", "--:", "---", "--:", "--:", "---"))
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "".join(f"| {' | '.join(cell.ljust(n) for cell, n in zip(row, widths))} |\n" for row in rows)


def main(arguments):
    page = None
    if arguments[:1] == ["--record"]:
        page = pathlib.Path(arguments[1]).resolve()
        arguments = arguments[2:]
    bench = os.path.abspath(arguments[0]) if arguments else None
    with tempfile.TemporaryDirectory(dir=".") as folder:  # that disk is measured
        os.chdir(folder)
        text = f"Measured on: {processor()}.\n\n{table(bench)}"
        os.chdir("..")
    if page:
        before, rest = page.read_text().split(MARKS[0])
        after = rest.split(MARKS[1])[1]
        page.write_text(f"{before}{MARKS[0]}\n{text}\n{MARKS[1]}{after}")
    print(text, end="")


main(sys.argv[1:])
