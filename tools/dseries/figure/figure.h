#pragma once

#include <optional>
#include <string>
#include <vector>

#include "figure/colormap.h"
#include "figure/scale.h"
#include <DataStorage/interfaces/arr.h>

namespace dseries {

/// A line through points in the order of their x, with gaps at values that are not finite.
struct Curve {
  std::string name;
  std::vector<double> x;
  std::vector<double> y;
  bool steps = false;  ///< the points are the corners of steps
};

/// Values over a plane, the bottom row first, drawn in colours. Not-a-number has no colour.
struct Raster {
  arr_c2DNumberArray<double> values;
  Scale scale;
  ColorMap colors;
  std::string label;
  CutOff cut_off;  ///< values outside the scale
};

/// A figure, independent of its output. All texts are UTF-8. A raster fills the axes from end to end.
struct Figure {
  std::string title;
  std::string subtitle;
  std::string x_label;
  std::string y_label;
  Scale x;
  Scale y;
  std::vector<Curve> curves;
  std::optional<Raster> raster;
  CutOff cut_off;        ///< values of the curves or the raster outside their scale
  bool to_scale = true;  ///< a unit of a raster is as long along X as along Y
};

/// Width over height of the raster in a figure: that of the axes if they are to scale, unless it would be a
/// thin strip.
double AspectOf(const Figure& figure);

/// The label of an axis, with the factor that its numbers leave out.
std::string LabelWithFactor(const std::string& label, const Scale& scale);

/// The file formats of figures.
enum class Paper { Png, Svg, Pdf };

/// The figure as the bytes of a file. Throws Failure when it cannot be drawn.
std::string Painted(const Figure& figure, Paper paper);

/// The bytes of a PNG with one pixel for each value; not-a-number is transparent. Throws Failure when there
/// are too many values.
std::string PixelsAsPng(const Raster& raster);

/// The figure as text of so many columns, 12 or more, with escape sequences for colours if `colors` is true.
/// In at most so many rows, 3 or more, if they are not 0: where they are few, titles and labels are left out.
std::string DrawnAsText(const Figure& figure, int columns, int rows, bool colors);

}  // namespace dseries
