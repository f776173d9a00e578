"""Builds a wheel by CMake (PEP 517), with the library inside the compiled core."""

import base64
import hashlib
import os
import pathlib
import subprocess
import sys
import sysconfig
import tempfile
import zipfile

SOURCE = pathlib.Path(__file__).resolve().parents[1]
OPTIONS = {
    "CMAKE_BUILD_TYPE": "Release",
    "BUILD_SHARED_LIBS": "OFF",
    "DATASTORAGE_PYTHON": "ON",
    "DATASTORAGE_PYTHON_DIR": ".",
    "DATASTORAGE_TOOLS": "OFF",
    "DATASTORAGE_TESTS": "OFF",
    "DATASTORAGE_EXAMPLES": "OFF",
    "Python_EXECUTABLE": sys.executable,
}


def _run(*command):
    subprocess.run([str(word) for word in command], check=True)


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    build = SOURCE / "build" / f"wheel-{sysconfig.get_config_var('SOABI')}"
    _run("cmake", "-S", SOURCE, "-B", build, *(f"-D{name}={value}" for name, value in OPTIONS.items()))
    _run("cmake", "--build", build, "--target", "datastorage_python", "--parallel", os.cpu_count() or 1)
    with tempfile.TemporaryDirectory() as folder:
        _run("cmake", "--install", build, "--component", "python", "--prefix", folder, "--strip")
        return _pack(pathlib.Path(folder), pathlib.Path(wheel_directory))


def _pack(folder, target):
    info = next(folder.glob("*.dist-info"))
    interpreter = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    tag = f"{interpreter}-{interpreter}-{platform}"
    info.joinpath("WHEEL").write_text(
        f"Wheel-Version: 1.0\nGenerator: datastorage\nRoot-Is-Purelib: false\nTag: {tag}\n"
    )
    name = f"{info.stem}-{tag}.whl"
    record = []
    with zipfile.ZipFile(target / name, "w", zipfile.ZIP_DEFLATED) as wheel:
        for path in sorted(path for path in folder.rglob("*") if path.is_file()):
            where, data = path.relative_to(folder).as_posix(), path.read_bytes()
            digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
            record.append(f"{where},sha256={digest},{len(data)}")
            wheel.write(path, where)
        place = f"{info.name}/RECORD"
        wheel.writestr(place, "\n".join([*record, f"{place},,"]) + "\n")
    return name
