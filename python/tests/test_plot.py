import matplotlib
import numpy as np
import pytest

import datastorage as ds

matplotlib.use("agg")
LABELS = {
    "axes": {"x": {"name": "Energy", "units": "eV"}, "y": {"name": "Angle"}},
    "value": {"name": "Counts", "units": "1/s"},
}


def test_pictures_show_positions_and_labels():
    with ds.create("a.dseries", [ds.Dim("x", "um", 2)]) as s:
        with pytest.raises(IndexError):
            s.plot()
        with pytest.raises(TypeError, match="integer"):
            s.plot(slice(0, 2))
        s.append(ds.Array([3 + 4j, 0], offset=20.0, delta=0.5).convert("f8", complex="magnitude"))
        s.append(ds.Array([1.0, 2.0], offset=20.0, delta=0.5))
        s.labels = LABELS
        axes = s.plot(0, color="red")
    assert axes.get_xlabel() == "Energy (eV)" and axes.get_ylabel() == "Counts (1/s)"
    assert axes.lines[0].get_xydata().tolist() == [[20, 5], [20.5, 0]] and axes.lines[0].get_color() == "red"
    assert ds.Array([3 + 4j]).plot(ax=axes) is axes and axes.lines[1].get_ydata().tolist() == [5]

    plane = ds.Array(np.arange(6).reshape(2, 3), dtype="u1", offset=(1, 5), delta=(2, 4))
    axes = plane.plot(labels=LABELS)
    mesh = axes.collections[0]
    assert mesh.get_coordinates()[:, :, 0].tolist() == [[1, 3, 5, 7]] * 3  # an element begins at its position
    assert (
        mesh.get_coordinates()[:, 0, 1].tolist() == [5, 9, 13]
        and (np.ravel(mesh.get_array()) == range(6)).all()
    )
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("Energy (eV)", "Angle")
    assert axes.figure.axes[1].get_ylabel() == "Counts (1/s)"
    for empty in (np.zeros(0), np.zeros((0, 3)), np.full((2, 2), np.nan)):
        axes = ds.Array(empty).plot()
        axes.figure.canvas.draw()
