"""What the documentation and the stubs say is so."""

import doctest
import os
import pathlib
import re
import subprocess
import sys
import types

import pytest

import datastorage
import datastorage._display
import datastorage._elements
import datastorage.series


def _docstrings(scope, name, seen):
    """The docstrings of modules and classes, also those of compiled functions, unlike doctest."""
    if isinstance(scope.__doc__, str):
        yield name, scope.__doc__, scope
    for key, value in vars(scope).items():
        value = getattr(value, "__func__", value)
        home = value.__name__ if isinstance(value, types.ModuleType) else getattr(value, "__module__", None)
        if isinstance(value, (type, types.ModuleType)):
            if str(home).startswith("datastorage") and value not in seen:
                seen.add(value)
                yield from _docstrings(value, f"{name}.{key}", seen)
        elif isinstance(getattr(value, "__doc__", None), str) and not key.startswith("__"):
            if isinstance(scope, type) or home == scope.__name__:
                yield f"{name}.{key}", value.__doc__, scope


def test_docstrings():
    failed = tried = 0
    for name, text, scope in list(_docstrings(datastorage, "datastorage", {datastorage})):
        names = dict(vars(scope)) if isinstance(scope, types.ModuleType) else {}
        test = doctest.DocTestParser().get_doctest(text, names, name, None, 0)
        result = doctest.DocTestRunner().run(test)
        failed, tried = failed + result.failed, tried + result.attempted
    assert failed == 0 and tried > 60


def test_page():
    page = pathlib.Path(os.environ["DATASTORAGE_SOURCE"]) / "docs" / "python-tour.md"
    text = re.sub("^```.*", "", page.read_text(), flags=re.MULTILINE)
    test = doctest.DocTestParser().get_doctest(text, {}, page.name, str(page), 0)
    result = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(test)
    assert result.failed == 0 and result.attempted > 30


@pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="looks at names only, and mypy is compiled otherwise")
def test_stubs():
    allowed = pathlib.Path(__file__).with_name("stubs_allowed.txt")
    package = pathlib.Path(datastorage.__file__).parents[1]
    command = [
        sys.executable,
        "-m",
        "mypy.stubtest",
        "datastorage",
        "--ignore-missing-stub",
        "--allowlist",
        str(allowed),
    ]
    result = subprocess.run(
        command, capture_output=True, text=True, env={**os.environ, "MYPYPATH": str(package)}
    )
    assert result.returncode == 0, result.stdout + result.stderr
