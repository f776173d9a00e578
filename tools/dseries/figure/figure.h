#pragma once

#include <optional>
#include <string>
#include <vector>

#include "figure/colormap.h"
#include "figure/scale.h"
#include <DataStorage/interfaces/arr.h>

namespace dseries {

/// A line through points in the order of their x; where one of the values is not finite there is a gap.
struct Curve {
  std::string name;
  std::vector<double> x;
  std::vector<double> y;
  bool steps = false;  ///< the points are the corners of steps
};

/// Values over a plane, the bottom row first, which are drawn in colours. Not-a-number has none.
struct Raster {
  arr_c2DNumberArray<double> values;
  Scale scale;
  ColorMap colors;
  std::string label;
  CutOff cut_off;  ///< of the values, by the scale
};

/// What is to be drawn, whatever it is drawn on. All texts are UTF-8. A raster fills the axes from end to
/// end.
struct Figure {
  std::string title;
  std::string subtitle;
  std::string x_label;
  std::string y_label;
  Scale x;
  Scale y;
  std::vector<Curve> curves;
  std::optional<Raster> raster;
  CutOff cut_off;  ///< of the values in the curves, by the axis, or of those of the raster
};

/// Width over height of the raster in a figure: as the axes have it, unless that would be a mere strip.
double AspectOf(const Figure& figure);

/// The label of an axis, with what the numbers at it leave out.
std::string LabelWithFactor(const std::string& label, const Scale& scale);

/// Forms of files that figures are drawn to.
enum class Paper { Png, Svg, Pdf };

/// The bytes of a file with the figure. Throws Failure when it cannot be drawn.
std::string Painted(const Figure& figure, Paper paper);

/// The bytes of a PNG with one pixel for each value; not-a-number is transparent. Throws Failure when there
/// are too many of them.
std::string PixelsAsPng(const Raster& raster);

/// The figure as text of so many columns, with the escape sequences of a terminal if it may have colours.
std::string DrawnAsText(const Figure& figure, int columns, bool colors);

}  // namespace dseries
