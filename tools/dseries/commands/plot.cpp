#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "cli/choice.h"
#include "cli/labels.h"
#include "cli/stack.h"
#include "cli/texts.h"
#include "cli/view.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "file/coordinates.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/series.h"
#include "file/text.h"
#include "io/files.h"
#include "io/input.h"
#include "io/npy.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
  TextForm text;
  View view;
  Drawing drawing;
  bool heat = false;
  Target output;
};

constexpr std::size_t most_curves = 12;

/// The labels of a plane.
Caption CaptionOf(const Options& options, const Labels& labels) {
  return {TitleOf(labels, options.file), "", LabelText(labels.x, "x"), LabelText(labels.y, "y"),
          LabelText(labels.value)};
}

/// Changes the labels to those of curves; `position` is the name of their X axis without a label.
void LabelCurves(Caption& caption, const Options& options, const Labels& labels, const char* position) {
  caption.x_label = options.view.column ? caption.y_label : LabelText(labels.x, position);
  caption.y_label = LabelText(labels.value, "value");
}

Figure FigureOfPlane(const darr_c2DArray& array, const Options& options, const Caption& caption) {
  return FigureOf(Cut(array, options.view), options.drawing, caption);
}

/// The elements of an array that a curve shows.
darr_c1DArray LineOf(const darr_c1DArray& array, const View& view) { return Cut(array, view); }
darr_c1DArray LineOf(const darr_c2DArray& array, const View& view) { return Line(Cut(array, view), view); }

/// A picture of the data, datum against position.
Figure FigureOfStack(const Stack& stack, std::size_t data, const Options& options, Caption caption,
                     const Labels& labels) {
  if (data > 1) {
    caption.subtitle = Count(static_cast<std::int64_t>(data), "datum", "data");
    if (!stack.place.empty()) caption.subtitle += ": " + stack.place;
  }
  caption.x_label = LabelText(labels.x, "position");
  caption.y_label = stack.row_label;
  caption.to_scale = false;
  return FigureOf(stack.plane, options.drawing, caption);
}

template <class Array>
Figure FigureOfSeries(const Options& options) {
  DataSeries<Array> series(options.file, bstr_OpenReadOnly);
  const std::vector<int> data = Chosen(series, options.choice);
  if (data.empty()) Fail("{} holds no data yet", options.file);
  const Labels labels = LabelsOf(options.file);
  Caption caption = CaptionOf(options, labels);
  if (data.size() == 1) caption.subtitle = DatumText(series, data.front());
  constexpr bool plane = std::is_same_v<Array, darr_c2DArray>;
  if constexpr (plane) {
    if (options.heat) Fail("{} holds 2D data; --heat makes a picture of many 1D data", options.file);
    if (!options.view.bLine()) {
      if (data.size() > 1) Fail("{} data cannot be drawn over each other; choose one", data.size());
      return FigureOfPlane(series.Datum(data.front()), options, caption);
    }
  } else if (options.heat) {
    return FigureOfStack(StackOf(series, data, options.view), data.size(), options, caption, labels);
  }
  if (data.size() > most_curves) {
    Fail("{} data are too many for one plot; choose up to {}, or draw 1D data as one picture with --heat",
         data.size(), most_curves);
  }
  std::vector<Curve> curves;
  curves.reserve(data.size());
  for (const int i : data) {
    curves.push_back(
        CurveOf(LineOf(series.Datum(i), options.view), PositionText(series, i), options.drawing));
  }
  LabelCurves(caption, options, labels, plane ? "x" : "position");
  return FigureOf(std::move(curves), options.drawing, caption);
}

/// A picture, an array or a text.
Figure FigureOfInput(const Options& options) {
  if (!options.choice.bNone()) Fail("{} is not a series, so no datum can be chosen", options.file);
  Caption caption = CaptionOf(options, {});
  std::string bytes = bRawPlane(options.file) ? "" : ReadWhole(options.file);
  if (!bRawPlane(options.file) && !bPlaneBytes(options.file, bytes)) {
    if (!options.view.bNone() || options.heat)
      Fail("{} is no series; its data are drawn whole", options.file);
    if (!bNpy(bytes))
      return FigureOfText(options.file, std::move(bytes), options.text, options.drawing, caption);
    std::vector<Curve> curves;
    const auto input = ReadInput<darr_c1DArray>(options.file, std::move(bytes), {}, PrintWarning);
    if (*input.count > static_cast<int>(most_curves))
      Fail("{} data are too many for one plot; the most are {}", *input.count, most_curves);
    while (const auto datum = input.next()) curves.push_back(CurveOf(*datum, "", options.drawing));
    return FigureOf(std::move(curves), options.drawing, caption);
  }
  const Input<darr_c2DArray> input =
      bRawPlane(options.file) ? ReadInput<darr_c2DArray>(options.file, {}, PrintWarning)
                              : ReadInput<darr_c2DArray>(options.file, std::move(bytes), {}, PrintWarning);
  if (!input.found.empty()) Complain("{}: {}", options.file, input.found);
  if (*input.count > 1)
    PrintWarning(fmt::format("{} holds {} pictures, of which this is the first", options.file, *input.count));
  const darr_c2DArray plane = *input.next();
  if (!input.units.empty()) caption.x_label = caption.y_label = input.units;
  if (!options.view.bLine()) return FigureOfPlane(plane, options, caption);
  LabelCurves(caption, options, {}, "x");
  return FigureOf({CurveOf(LineOf(plane, options.view), "", options.drawing)}, options.drawing, caption);
}

Figure FigureOfFile(const Options& options) {
  if (bNoSeries(options.file)) return FigureOfInput(options);
  if (!options.text.bNone())
    Fail("{} is a series; what a text looks like does not apply to it", options.file);
  return VisitDataType(KnownDataType(options.file), [&]<class Array>(std::type_identity<Array>) {
    return FigureOfSeries<Array>(options);
  });
}

void Plot(const Options& options) {
  const bool shown = options.output.path.empty();
  if (!shown) CheckFigureName(options.output.path);
  const Figure figure = FigureOfFile(options);
  shown ? fmt::print("{}", TerminalText(figure)) : WriteFigure(options.output, figure, options.file);
}

}  // namespace

void AddPlot(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("plot", "Draw data with axes, in the terminal or to a file");
  command
      .add_option("FILE", options->file,
                  "A series file, a text with numbers in columns, a picture, or an array (.npy, .darr); - is "
                  "one of them, but no series, on standard input")
      ->required();
  AddChoice(command, options->choice, Many::Yes);
  AddView(command, options->view);
  command.add_flag("--heat", options->heat,
                   "Draw 1D data as one picture: a row for each datum, its values as colours");
  AddColors(command, options->drawing);
  AddLabels(command, options->drawing);
  command.add_flag("--steps", options->drawing.steps, "Curves hold each value up to the next position");
  AddTextForm(command, options->text);
  AddTarget(command, options->output, "Draw to a file (.png, .svg, .pdf)");
  command.footer(
      "1D data become curves, several of them in one plot, or rows of one picture; 2D\n"
      "data become a map in colours, or curves along a row or a column of them.\n\n"
      "A text is drawn as it is; its positions need not be even.\n\n"
      "Example: two spectra in the terminal, and one as a picture\n"
      "  dseries plot spectra.dseries 0,1\n"
      "  dseries plot spectra.dseries 0 --log --x-label \"2θ (°)\" --y-label counts \\\n"
      "    -o spectrum.png\n"
      "A map, and how it changes along the equator\n"
      "  dseries plot months.dseries 0 --contrast full -o january.svg\n"
      "  dseries plot months.dseries 0 6 --row-at 0\n"
      "The months along the equator, as one picture\n"
      "  dseries plot sst.dseries --where latitude=0 --heat -o equator.png");
  command.callback([options] { Plot(*options); });
}

}  // namespace dseries
