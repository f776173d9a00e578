"""What the page about clusters shows, and its program, with fewer runs."""

import doctest
import os
import pathlib
import subprocess
import sys

import pytest

SOURCE = pathlib.Path(os.environ["DATASTORAGE_SOURCE"])


@pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="processes start slowly under the sanitizer")
def test_page_and_program():
    os.symlink(SOURCE / "examples", "examples")
    page = (SOURCE / "docs/python-cluster.md").read_text()
    for many, fewer in (("1000", "50"), ("999", "49"), ("16:39:00", "00:49:00")):
        assert many in page
        page = page.replace(many, fewer)
    test = doctest.DocTestParser().get_doctest(page, {}, "python-cluster.md", None, 0)
    result = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(test)
    assert result.failed == 0 and result.attempted > 15
    program = subprocess.run([sys.executable, "examples/cluster_peaks.py", "runs"], capture_output=True, text=True)
    assert program.stdout == "200 curves: the highest peak at 24.75\n" and program.returncode == 0, program
