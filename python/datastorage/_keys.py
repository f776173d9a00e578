"""What a caller gives to choose data and to name times, as the numbers that a file has for them."""

import datetime
import math
import operator
import re

import numpy as np


def chosen(key, n, of):
    """The indices that a key selects of n things: an int, or a range or an array of ints.

    `of` returns what a message names.

    >>> chosen(-1, 5, None), chosen(slice(1, None, 2), 5, None), chosen([0, -1], 5, None)
    (4, range(1, 5, 2), array([0, 4]))
    """
    if isinstance(key, slice):
        return range(n)[key]
    try:
        index = operator.index(key)
    except TypeError:
        keys = np.asarray(key)
        if keys.ndim == 1 and not keys.size:
            return np.arange(0)
        if keys.dtype.kind not in "iub" or (keys.dtype.kind == "b" and not keys.ndim):
            kind = type(key).__name__ if keys.dtype == object else keys.dtype
            raise TypeError(f"indices are integers or truth values, not {kind}") from None
        if keys.ndim > 1:
            raise IndexError(f"indices are a list of one dimension, not of {keys.ndim}") from None
        if keys.ndim:
            return np.arange(n)[keys]
        index = int(keys)
    if not -n <= index < n:
        raise IndexError(f"index {index} is outside {of()}")
    return index % n


def seconds(time):
    """A time as seconds since 1970, rounded down.

    >>> seconds("2024-02-29T12:00"), seconds("2024-02-29T12:00:00.9Z"), seconds("2024-02-29 12:00+01:00")
    (1709208000, 1709208000, 1709204400)
    >>> seconds(-0.5), seconds(np.datetime64("1969-12-31T23:59:59.999999999"))
    (-1, -1)
    """
    if hasattr(time, "to_datetime64"):  # of pandas
        time = time.to_datetime64()
    elif hasattr(time, "dtype") and np.ndim(time) == 0:
        time = np.asarray(time)[()]
    try:
        if isinstance(time, str):
            return _seconds_of_text(time)
        if isinstance(time, datetime.datetime):
            time = time.timestamp()
        elif isinstance(time, datetime.date):
            time = np.datetime64(time)
        if isinstance(time, np.datetime64):
            if np.isnat(time):
                raise ValueError
            return int(time.astype("M8[s]").astype(np.int64))
        if not isinstance(time, (np.timedelta64, np.bool_)):
            return math.floor(time)
    except (ValueError, OverflowError):
        raise ValueError(f"{time!r} is not a time") from None
    except TypeError:
        pass
    raise TypeError(f"a time is a number of seconds, a datetime or a text of ISO 8601, not {time!r}")


def _seconds_of_text(text):
    zoned = re.fullmatch("(.+[T ].+?) ?(?:Z|([+-][0-9]{2}):?([0-9]{2}))", text)
    if not zoned:
        if text.isdecimal() and len(text) > 4:  # no year
            raise ValueError
        return seconds(np.datetime64(text))
    hours, minutes = zoned[2] or "+00", int(zoned[3] or 0)
    return seconds(np.datetime64(zoned[1])) - int(hours) * 3600 - int(f"{hours[0]}60") * minutes


def pair(position):
    """A position (x, y) as two floats."""
    try:
        x, y = position
        return float(x), float(y)
    except (TypeError, ValueError):
        raise TypeError(f"a position is a pair of numbers (x, y), not {position!r}") from None
