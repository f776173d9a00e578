#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "figure/figure.h"
#include "io/files.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// How arrays are drawn.

namespace dseries {

/// The options of a drawing; empty members were not given.
struct Drawing {
  std::vector<double> contrast;  ///< values at the ends of the scale
  bool full_contrast = false;    ///< its ends are the lowest and the highest value
  std::string colors;            ///< one of ColorMap::Names()
  std::string x_label;
  std::string y_label;
  std::string z_label;  ///< of the colour scale
  bool logarithmic = false;
  bool stretch = false;  ///< pictures: the values become greys, even if their format holds them as they are
  bool steps = false;    ///< each value of a curve holds up to the next position

  bool bNone() const { return contrast.empty() && !full_contrast && colors.empty() && !stretch; }
  bool bStretches() const { return !bNone() || logarithmic; }
};

/// Adds the options for colours, and those for labels and the logarithmic scale.
void AddColors(CLI::App& command, Drawing& drawing);
void AddLabels(CLI::App& command, Drawing& drawing);

/// The title and the default labels of a figure.
struct Caption {
  std::string title;
  std::string subtitle;
  std::string x_label;
  std::string y_label;
  std::string z_label;
  bool to_scale = true;  ///< the axes have the same units
};

/// The values with their colours. The scale goes by default from the 1st to the 99th percentile of the finite
/// values, so that outliers do not spoil the picture.
Raster RasterOf(const darr_c2DArray& array, const Drawing& drawing, const std::string& default_colors);
/// Whether the elements are greys themselves, drawn unchanged.
bool bGreysThemselves(const darr_c2DArray& array, const Drawing& drawing);

Curve CurveOf(const darr_c1DArray& array, const std::string& name, const Drawing& drawing);

Figure FigureOf(const darr_c2DArray& array, const Drawing& drawing, const Caption& caption);
Figure FigureOf(std::vector<Curve> curves, const Drawing& drawing, const Caption& caption);

/// The figure as text that fits the terminal on standard output and leaves these rows free.
std::string TerminalText(const Figure& figure, int rows = 1);
/// Draws the figure to a file, in the format of its extension, and reports it on standard output. `source` as
/// for WriteWhole.
void WriteFigure(const Target& target, const Figure& figure, const std::string& source);
/// Throws Failure when WriteFigure could not write to a file of this name.
void CheckFigureName(const std::string& path);

}  // namespace dseries
