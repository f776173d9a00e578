"""Pictures of arrays: small ones for notebooks, and figures by matplotlib."""

import base64
import html
import struct
import zlib

import numpy as np

_WIDTH, _HEIGHT = 240, 80


def _real(array):
    values = array.numpy()
    return np.abs(values) if values.dtype.kind == "c" else values


def _scaled(values):
    """The values from 0 to 1; not-a-number where they are not finite or all the same."""
    values = values.astype(float)
    finite = values[np.isfinite(values)]
    low, high = (finite.min(), finite.max()) if finite.size else (0.0, 0.0)
    with np.errstate(over="ignore", invalid="ignore"):
        scaled = (
            (values / 2 - low / 2) / (high / 2 - low / 2)
            if high > low
            else np.where(np.isfinite(values), 0.5, np.nan)
        )
    return np.where(np.isfinite(values), scaled, np.nan)


def _curve(values):
    """The outline of a curve: the lowest and the highest value of each column."""
    blocks = np.array_split(_scaled(values), min(len(values), _WIDTH))
    points = []
    for column, block in enumerate(blocks):
        block = block[~np.isnan(block)]
        x = (column + 0.5) * _WIDTH / len(blocks)
        points += [
            f"{x:.1f},{_HEIGHT - 2 - (_HEIGHT - 4) * y:.1f}"
            for y in ([block.min(), block.max()] if block.size else [])
        ]
    return (
        f'<svg width="{_WIDTH}" height="{_HEIGHT}" style="border:1px solid #ccc">'
        f'<polyline points="{" ".join(points)}" fill="none" stroke="#1f77b4"/></svg>'
    )


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def _image(values):
    """A grey picture of a plane, of at most so many pixels."""
    rows, columns = (np.linspace(0, n - 1, min(n, _WIDTH)).astype(int) for n in values.shape)
    grey = np.nan_to_num(_scaled(values[np.ix_(rows, columns)]) * 255).astype(np.uint8)[::-1]  # y points up
    lines = b"".join(b"\0" + row.tobytes() for row in grey)
    header = struct.pack(">IIBBBBB", grey.shape[1], grey.shape[0], 8, 0, 0, 0, 0)
    png = (
        b"\x89PNG\r\n\x1a\n"
        + _chunk(b"IHDR", header)
        + _chunk(b"IDAT", zlib.compress(lines))
        + _chunk(b"IEND", b"")
    )
    source = f"data:image/png;base64,{base64.b64encode(png).decode()}"
    return f'<img src="{source}" style="max-height:{2 * _HEIGHT}px">'


def array_html(array):
    """A line about an array, and a small picture of it."""
    text = f"<code>{html.escape(repr(array))}</code>"
    values = _real(array)
    if not values.size:
        return text
    return f"{text}<br>{_curve(values) if values.ndim == 1 else _image(values)}"


def series_html(series):
    """A line about a series, and its newest datum."""
    text = f"<code>{html.escape(repr(series))}</code>"
    return text if series.closed or not len(series) else f"{text}<br>newest: {array_html(series[-1])}"


def plot_array(array, *, ax=None, labels=None, **options):
    """Draws an array with matplotlib and returns the axes.

    Curves take the options of matplotlib's plot(), planes those of pcolormesh(). `labels` are those of a
    series.
    """
    from matplotlib import pyplot  # type: ignore[import]

    ax = pyplot.subplots()[1] if ax is None else ax
    values, axes = _real(array), (labels or {}).get("axes", {})
    if values.ndim == 1:
        ax.plot(array.positions, values, **options)
        ax.set_ylabel(_label((labels or {}).get("value", {})))
    else:
        (offset, delta, index), edges = array.calibration, []
        for o, d, i, n in zip(offset, delta, index, values.shape[::-1]):
            edges.append(o + (np.arange(n + 1) - i) * d)
        mesh = ax.pcolormesh(*edges, values, **options)
        ax.figure.colorbar(mesh, ax=ax, label=_label((labels or {}).get("value", {})))
        ax.set_ylabel(_label(axes.get("y", {})))
    ax.set_xlabel(_label(axes.get("x", {})))
    return ax


def _label(label):
    name, units = label.get("name", ""), label.get("units", "")
    return f"{name} ({units})" if units else name
