"""What the page about clusters, its program and the notebook show."""

import doctest
import os
import pathlib
import subprocess
import sys

import nbclient
import nbformat
import numpy as np
import pytest

SOURCE = pathlib.Path(os.environ["DATASTORAGE_SOURCE"])
slow = pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="other processes start slowly under a sanitizer")


@slow
def test_page_and_program():
    os.symlink(SOURCE / "examples", "examples")
    page = (SOURCE / "docs/python-cluster.md").read_text().replace("```", "\n")
    for many, fewer in (("1000", "50"), ("999", "49"), ("16:39:00", "00:49:00")):
        assert many in page
        page = page.replace(many, fewer)
    test = doctest.DocTestParser().get_doctest(page, {}, "python-cluster.md", None, 0)
    result = doctest.DocTestRunner().run(test)
    assert result.failed == 0 and result.attempted > 15
    command = [sys.executable, "examples/cluster_peaks.py", "runs"]
    program = subprocess.run(command, capture_output=True, text=True)
    assert program.stdout == "200 curves: the highest peak at 24.75\n" and program.returncode == 0, program


@slow
def test_notebook():
    os.symlink(SOURCE / "examples", "examples")
    notebook = nbformat.read(SOURCE / "examples/python/sea_surface_temperature.ipynb", 4)
    nbclient.NotebookClient(notebook, timeout=300, resources={"metadata": {"path": "."}}).execute()
    outputs = [output for cell in notebook.cells for output in cell.get("outputs", [])]
    assert sum("image/png" in output.get("data", {}) for output in outputs) == 2
    maps = np.fromfile("examples/data/sea_surface_temperature.f32", "<f4").reshape(12, 90, 180)
    change = maps.max(axis=0) - maps.min(axis=0)
    j, i = np.unravel_index(np.nanargmax(change), change.shape)
    place = f"{-89 + 2 * j} degrees north, {21 + 2 * i} degrees east"
    assert outputs[-1]["text"] == f"{np.nanmax(change):.1f} degrees at {place}\n"
