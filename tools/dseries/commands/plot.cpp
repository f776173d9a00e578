#include <algorithm>
#include <cstdlib>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "cli/choice.h"
#include "cli/view.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "file/coordinates.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/series.h"
#include "io/files.h"
#include "io/input.h"
#include "io/system.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
  PlaneView view;
  Drawing drawing;
  Target output;
};

constexpr std::size_t most_curves = 12;

Caption CaptionOf(const Options& options) { return {FileName(options.file), "", "x", "y", ""}; }

Figure FigureOfPlane(const darr_c2DArray& array, const Options& options, const Caption& caption) {
  return FigureOf(Cut(array, options.view), options.drawing, caption);
}

/// The elements of an array that a curve shows.
darr_c1DArray LineOf(const darr_c1DArray& array, const PlaneView&) { return array; }
darr_c1DArray LineOf(const darr_c2DArray& array, const PlaneView& view) {
  return Line(Cut(array, view), view);
}

template <class Array>
Figure FigureOfSeries(const Options& options) {
  DataSeries<Array> series(options.file, bstr_OpenReadOnly);
  const std::vector<int> data = Chosen(series, options.choice);
  if (data.empty()) Fail("{} holds no data yet", options.file);
  Caption caption = CaptionOf(options);
  if (data.size() == 1) caption.subtitle = DatumText(series, data.front());
  if constexpr (std::is_same_v<Array, darr_c2DArray>) {
    if (!options.view.bLine()) {
      if (data.size() > 1) Fail("{} data cannot be drawn over each other; choose one", data.size());
      return FigureOfPlane(series.Datum(data.front()), options, caption);
    }
  } else if (!options.view.bNone()) {
    Fail("{} holds 1D data, which cannot be cut", options.file);
  }
  if (data.size() > most_curves)
    Fail("{} data are too many for one plot; choose up to {}", data.size(), most_curves);
  std::vector<Curve> curves;
  curves.reserve(data.size());
  for (const int i : data) {
    curves.push_back(
        CurveOf(LineOf(series.Datum(i), options.view), PositionText(series, i), options.drawing));
  }
  caption.x_label = options.view.column ? "y" : std::is_same_v<Array, darr_c2DArray> ? "x" : "position";
  caption.y_label = "value";
  return FigureOf(std::move(curves), options.drawing, caption);
}

Figure FigureOfFile(const Options& options) {
  if (!bPlane(options.file)) {
    return VisitDataType(KnownDataType(options.file), [&]<class Array>(std::type_identity<Array>) {
      return FigureOfSeries<Array>(options);
    });
  }
  if (!options.choice.bNone()) Fail("{} is not a series, so no datum can be chosen", options.file);
  const darr_c2DArray plane = ReadPlane(options.file, {}, PrintWarning);
  Caption caption = CaptionOf(options);
  if (!options.view.bLine()) return FigureOfPlane(plane, options, caption);
  caption.x_label = options.view.column ? "y" : "x";
  caption.y_label = "value";
  return FigureOf({CurveOf(LineOf(plane, options.view), "", options.drawing)}, options.drawing, caption);
}

/// Shows the figure on standard output, as wide as the terminal.
void Show(const Figure& figure) {
  constexpr int usual = 80, least = 40, most = 160;
  const bool terminal = bTerminal(standard_output);
  const int columns = std::clamp(TerminalWidth().value_or(usual), least, most);
  fmt::print("{}", DrawnAsText(figure, columns, terminal && std::getenv("NO_COLOR") == nullptr));
}

void Plot(const Options& options) {
  const bool shown = options.output.path.empty();
  if (!shown) CheckFigureName(options.output.path);
  const Figure figure = FigureOfFile(options);
  shown ? Show(figure) : WriteFigure(options.output, figure, options.file);
}

}  // namespace

void AddPlot(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("plot", "Draw data with axes, in the terminal or to a file");
  command
      .add_option(
          "FILE", options->file,
          "A series file, a picture (PGM, 8-bit BMP; - for one on standard input) or a 2D array (.darr)")
      ->required();
  AddChoice(command, options->choice, Many::Yes);
  AddView(command, options->view);
  AddColors(command, options->drawing);
  AddLabels(command, options->drawing);
  command.add_flag("--steps", options->drawing.steps, "Curves hold each value up to the next position");
  AddTarget(command, options->output, "Draw to a file (.png, .svg, .pdf)");
  command.footer(
      "1D data become curves, several of them in one plot; 2D data become a map in\n"
      "colours, or curves along a row or a column of them.\n\n"
      "Example: two spectra in the terminal, and one as a picture\n"
      "  dseries plot spectra.dseries 0 1\n"
      "  dseries plot spectra.dseries 0 --log --x-label \"2θ (°)\" --y-label counts \\\n"
      "    -o spectrum.png\n"
      "A map, and how it changes along the equator\n"
      "  dseries plot months.dseries 0 --contrast full -o january.svg\n"
      "  dseries plot months.dseries 0 6 --row-at 0");
  command.callback([options] { Plot(*options); });
}

}  // namespace dseries
