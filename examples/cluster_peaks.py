#!/usr/bin/env python3
"""Finds the highest peak of each curve in many series files, and their mean curve, on a Dask cluster.

cluster_peaks.py FOLDER [SCHEDULER] reads all series files of a folder, one run each. SCHEDULER is the
address of a running scheduler, such as tcp://node7:8786; without one, two processes are started here.
"""
import pathlib
import sys

import xarray
from distributed import Client, LocalCluster


def open_runs(folder):
    """The data of all runs along a new dimension, `run`. Only the heads of the files are read."""
    files = sorted(pathlib.Path(folder).glob("*.dseries"))
    runs = xarray.open_mfdataset(
        files, combine="nested", concat_dim="run", coords="all", join="exact", inline_array=True
    )
    return runs.assign_coords(run=[file.stem for file in files])


def analyse(runs):
    """The position of the highest element of each curve, and the mean of all curves."""
    others = set(runs.data.dims) - {"position"}
    return xarray.Dataset({"peak": runs.data.idxmax("position"), "mean": runs.data.mean(others)})


def main(folder, scheduler=None):
    with Client(scheduler or LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None)):
        result = analyse(open_runs(folder)).compute()
    print(f"{result.peak.size} curves: the highest peak at {result.peak.mean():.2f}")


if __name__ == "__main__":  # the processes import this file
    main(*sys.argv[1:])
