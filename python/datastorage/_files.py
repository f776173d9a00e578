"""Paths of files, and what the system says about them."""

import contextlib
import errno
import os
import stat

from ._core import Error


def absolute(path):
    path = os.fsdecode(path)
    if "\0" in path:
        raise ValueError("embedded null byte in a path")
    return os.path.abspath(path)


@contextlib.contextmanager
def naming_the_reason(path):
    """Where a message ends with a reason of the system, it becomes an OSError."""
    try:
        yield
    except Error as error:
        reasons = [number for number in errno.errorcode if f": {os.strerror(number)}" in str(error)]
        if not reasons:
            raise
        number = max(reasons, key=lambda number: len(os.strerror(number)))
        raise OSError(number, str(error), path) from None


def raise_os_error(path, writing=False):
    """Raises what the system says about a file that cannot be opened, if it says something."""
    flags = os.O_RDWR if writing else os.O_RDONLY
    descriptor = os.open(path, flags | os.O_NONBLOCK | os.O_CLOEXEC)
    try:
        kind = os.fstat(descriptor).st_mode
    finally:
        os.close(descriptor)
    if stat.S_ISDIR(kind):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), path)
