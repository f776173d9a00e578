#include "figure/drawing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <utility>

#include "file/failure.h"
#include "file/text.h"
#include "io/console.h"
#include "io/system.h"

namespace dseries {

namespace {

const std::map<std::string, Paper> papers{{".png", Paper::Png}, {".svg", Paper::Svg}, {".pdf", Paper::Pdf}};

Scale GivenContrast(const Drawing& drawing) {
  const double low = drawing.contrast[0], high = drawing.contrast[1];
  if (drawing.logarithmic && !(low > 0)) Fail("a logarithmic scale needs a contrast above 0");
  return {low, high, drawing.logarithmic};
}

/// Reads "full" or two rising numbers.
void ParseContrast(const std::string& text, Drawing& drawing) {
  double low = 0, high = 0;
  const std::size_t comma = std::min(text.find(','), text.size());
  const std::string ends[] = {text.substr(0, comma), text.substr(std::min(comma + 1, text.size()))};
  drawing.full_contrast = text == "full";
  if (drawing.full_contrast) return;
  if (!CLI::detail::lexical_cast(ends[0], low) || !CLI::detail::lexical_cast(ends[1], high) ||
      !(high > low)) {
    throw CLI::ValidationError("--contrast: '" + text + "' is neither 'full' nor two rising values");
  }
  drawing.contrast = {low, high};
}

/// Whether a value has a place on the scale of the drawing.
bool bDrawable(double value, const Drawing& drawing) {
  return std::isfinite(value) && (!drawing.logarithmic || value > 0);
}

Scale ScaleOf(const arr_c2DNumberArray<double>& array, const Drawing& drawing) {
  if (!drawing.contrast.empty()) return GivenContrast(drawing);
  std::vector<double> values;
  std::copy_if(array.Data(), array.Data() + array.NumIndices(), std::back_inserter(values),
               [&](double value) { return bDrawable(value, drawing); });
  if (values.empty()) return Scale::Around({}, drawing.logarithmic);
  const auto tail = drawing.full_contrast ? 0 : static_cast<std::ptrdiff_t>((values.size() - 1) / 100);
  const auto low = values.begin() + tail, high = values.end() - 1 - tail;
  std::nth_element(values.begin(), low, values.end());
  const double lowest = *low;
  std::nth_element(low, high, values.end());
  return {lowest, *high, drawing.logarithmic};
}

arr_c2DNumberArray<double> DoublesOf(const darr_c2DArray& array) {
  darr_c2DArray doubles(array);
  doubles.Convert(dtyp_Float64);
  return static_cast<arr_c2DNumberArray<double>>(doubles);
}

/// Reverses the values along axes with falling positions.
void TurnToRise(arr_c2DNumberArray<double>& values, const cal_c2DArrayCal& cal) {
  const std::ptrdiff_t nx = values.NumIndicesX(), ny = values.NumIndicesY();
  double* const first = values.WriteAccess();
  if (cal.DeltaX() < 0) {
    for (std::ptrdiff_t j = 0; j < ny; ++j) std::reverse(first + j * nx, first + (j + 1) * nx);
  }
  if (cal.DeltaY() < 0) {
    for (std::ptrdiff_t j = 0; j < ny / 2; ++j) {
      std::swap_ranges(first + j * nx, first + (j + 1) * nx, first + (ny - 1 - j) * nx);
    }
  }
}

/// From the first element to the end of the last one.
Scale Extent(const cal_cArrayCal& cal, int count) {
  Span span;
  span.Add(cal.Position(0));
  span.Add(cal.Position(count));
  if (!(span.high > span.low)) Fail("the elements have no extent: their distance is {}", cal.Delta());
  return {span.low, span.high};
}

const std::string& Either(const std::string& given, const std::string& known) {
  return given.empty() ? known : given;
}

/// A label as UTF-8.
std::string Label(const std::string& given, const std::string& known) {
  return Printable(Either(given, known));
}

Figure Blank(const Drawing& drawing, const Caption& caption, const Scale& x, const Scale& y) {
  return {Printable(caption.title),
          caption.subtitle,
          Label(drawing.x_label, caption.x_label),
          Label(drawing.y_label, caption.y_label),
          x,
          y,
          {},
          {},
          {},
          caption.to_scale};
}

Raster Scaled(const arr_c2DNumberArray<double>& values, const Scale& scale, const ColorMap& colors,
              const std::string& label) {
  CutOff cut_off;
  for (int i = 0; i < values.NumIndices(); ++i) cut_off.Add(values.Data()[i], scale);
  return {values, scale, colors, label, cut_off};
}

}  // namespace

void AddColors(CLI::App& command, Drawing& drawing) {
  command
      .add_option_function<std::string>(
          "--contrast", [&drawing](const std::string& text) { ParseContrast(text, drawing); },
          "The values drawn darkest and lightest (for curves, the ends of the axis); 'full': the lowest and "
          "the highest; default: the 1st and the 99th percentile of the values (for curves, all of them). "
          "Values beyond an end are drawn like it and counted, and the end is pointed. Not-a-number is "
          "black, in PNG transparent; all values are lighter than black")
      ->type_name("full|LOW,HIGH");
  command
      .add_option("--colors", drawing.colors,
                  "Colours: grey or viridis; default: viridis with axes, unless the elements have 1 byte; "
                  "grey otherwise")
      ->type_name("NAME")
      ->check(CLI::IsMember(ColorMap::Names()));
  command.add_flag(
      "--stretch", drawing.stretch,
      "Pictures without axes: draw the values in greys, as --contrast and --colors do. Without "
      "these a picture holds the values themselves: of 1 byte in PNG, BMP and PGM, of 2 in PNG and "
      "PGM, of any type in TIFF");
}

void AddLabels(CLI::App& command, Drawing& drawing) {
  command.add_option("--x-label", drawing.x_label, "Label of the X axis")->type_name("TEXT");
  command.add_option("--y-label", drawing.y_label, "Label of the Y axis")->type_name("TEXT");
  command.add_option("--z-label", drawing.z_label, "Label of the colour scale")->type_name("TEXT");
  command.add_flag("--log", drawing.logarithmic, "Logarithmic scale of the values");
}

bool bGreysThemselves(const darr_c2DArray& array, const Drawing& drawing) {
  return array.DataType() == dtyp_UBin8 && drawing.bNone() && !drawing.logarithmic;
}

Raster RasterOf(const darr_c2DArray& array, const Drawing& drawing, const std::string& default_colors) {
  const arr_c2DNumberArray<double> values = DoublesOf(array);
  if (bGreysThemselves(array, drawing)) return Scaled(values, {0, 255}, ColorMap::Greys(), drawing.z_label);
  return Scaled(values, ScaleOf(values, drawing), ColorMap::Named(Either(drawing.colors, default_colors)),
                drawing.z_label);
}

Curve CurveOf(const darr_c1DArray& array, const std::string& name, const Drawing& drawing) {
  Curve curve{name, {}, {}, drawing.steps};
  for (int i = 0; i < array.NumIndices(); ++i) {
    for (const int end : {0, 1}) {
      if (end == 1 && !drawing.steps) break;
      curve.x.push_back(array.Cal().PositionX(i + end));
      curve.y.push_back(array.Value(i).Value());
    }
  }
  return curve;
}

Figure FigureOf(const darr_c2DArray& array, const Drawing& drawing, const Caption& caption) {
  if (array.NumIndices() == 0) Fail("there are no elements to draw");
  const cal_c2DArrayCal& cal = array.Cal();
  Figure figure = Blank(drawing, caption, Extent(cal.AxisX(), array.NumIndicesX()),
                        Extent(cal.AxisY(), array.NumIndicesY()));
  figure.raster = RasterOf(array, drawing, "viridis");
  figure.raster->label = Label(drawing.z_label, caption.z_label);
  figure.cut_off = figure.raster->cut_off;
  TurnToRise(figure.raster->values, cal);
  return figure;
}

Figure FigureOf(std::vector<Curve> curves, const Drawing& drawing, const Caption& caption) {
  Span x, y;
  for (const Curve& curve : curves) {
    for (const double position : curve.x) x.Add(position);
    for (const double value : curve.y) {
      if (bDrawable(value, drawing)) y.Add(value);
    }
  }
  if (x.bEmpty()) Fail("there are no elements to draw");
  Figure figure =
      Blank(drawing, caption, {x.low, x.high},
            drawing.contrast.empty() ? Scale::Around(y, drawing.logarithmic) : GivenContrast(drawing));
  for (const Curve& curve : curves) {
    for (std::size_t i = 0; i < curve.y.size(); i += curve.steps ? 2 : 1)
      figure.cut_off.Add(curve.y[i], figure.y);
  }
  figure.curves = std::move(curves);
  return figure;
}

void CheckFigureName(const std::string& path) {
  CheckEnding(path, "figures are drawn", {".png", ".svg", ".pdf"});
}

std::string TerminalText(const Figure& figure, int rows) {
  constexpr int usual = 80, least = 12, most = 160, least_rows = 3;
  const bool colors = bTerminal(standard_output) && std::getenv("NO_COLOR") == nullptr;
  const auto window = TerminalSize();
  return DrawnAsText(figure, window ? std::clamp(window->columns, least, most) : usual,
                     window ? std::max(window->rows - rows, least_rows) : 0, colors);
}

void WriteFigure(const Target& target, const Figure& figure, const std::string& source) {
  CheckFigureName(target.path);
  WriteWhole(target, Painted(figure, papers.at(Extension(target.path))), source);
  const std::string cut_off = figure.cut_off.Text();
  Note("{}: drawn{}{}", target.path, cut_off.empty() ? "" : "; ", cut_off);
}

}  // namespace dseries
