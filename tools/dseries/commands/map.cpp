#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/choice.h"
#include "cli/labels.h"
#include "cli/progress.h"
#include "cli/view.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "figure/plane.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/series.h"
#include "file/structure.h"
#include "file/text.h"
#include "io/files.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

namespace {

constexpr double no_value = std::numeric_limits<double>::quiet_NaN();

/// How the elements of a datum become one value, and which of them.
struct Reduction {
  enum Kind { Sum, Mean, Max, Min, At };

  Kind kind = Sum;
  double from = no_value;  ///< not-a-number: from the first element
  double to = no_value;    ///< not-a-number: to the last one
};

const std::map<std::string, Reduction::Kind> kinds{{"sum", Reduction::Sum},
                                                   {"mean", Reduction::Mean},
                                                   {"max", Reduction::Max},
                                                   {"min", Reduction::Min},
                                                   {"at", Reduction::At}};

struct Options {
  std::string file;
  Choice choice;
  Reduction reduction;
  rnge_eIndexSelect cells = rnge_IndexOuter;
  Target output;
  bool axes = false;
  Drawing drawing;
};

/// Reads "mean", "mean:500,600" or "at:500" over what the reduction holds already.
void ParseReduction(const std::string& text, Reduction& reduction) {
  const std::size_t colon = std::min(text.find(':'), text.size());
  const auto kind = kinds.find(text.substr(0, colon));
  bool valid = kind != kinds.end();
  if (valid) reduction.kind = kind->second;
  const bool at = valid && reduction.kind == Reduction::At;
  if (valid && colon < text.size()) {
    const std::string ends = text.substr(colon + 1);
    const std::size_t comma = at ? ends.size() : std::min(ends.find(','), ends.size());
    valid = CLI::detail::lexical_cast(ends.substr(0, comma), reduction.from);
    if (at) {
      reduction.to = reduction.from;
    } else {
      valid = valid && comma < ends.size() && CLI::detail::lexical_cast(ends.substr(comma + 1), reduction.to);
    }
    valid = valid && std::isfinite(reduction.from) && std::isfinite(reduction.to);
  } else {
    valid = valid && !at;
  }
  if (!valid) {
    throw CLI::ValidationError(
        "--value: '" + text +
        "' is none of sum, mean, max and min, alone or as mean:FROM,TO, nor at:POSITION");
  }
}

/// The indices of the elements to reduce.
rnge_c1DIndexRange CellsOf(const darr_c1DArray& array, const Options& options) {
  const cal_cArrayCal& cal = array.Cal().AxisX();
  const int n = array.NumIndices();
  const double first = cal.Position(0), end = cal.Position(n);
  const auto& [kind, from, to] = options.reduction;
  return CellsBetween(cal, n, std::isnan(from) ? std::min(first, end) : from,
                      std::isnan(to) ? std::max(first, end) : to,
                      kind == Reduction::At || from == to ? rnge_IndexOuter : options.cells);
}

/// Not-a-number if there are no elements. A sum with a missing value is missing; the others leave it out.
double Reduced(const darr_c1DArray& array, const rnge_c1DIndexRange& cells, Reduction::Kind kind) {
  if (cells.NumIndicesX() == 0) return no_value;
  Extremes extremes;
  double sum = 0, numbers = 0, sum_of_numbers = 0;
  for (int i = cells.StartIndexX(); i < cells.EndIndexX(); ++i) {
    const double value = array.Value(i).Value();
    sum += value;
    if (std::isnan(value)) continue;
    extremes.Add(value);
    sum_of_numbers += value;
    ++numbers;
  }
  if (kind == Reduction::Sum || kind == Reduction::At) return sum;
  if (numbers == 0) return no_value;
  return kind == Reduction::Mean  ? sum_of_numbers / numbers
         : kind == Reduction::Max ? extremes.high
                                  : extremes.low;
}

/// "mean of all elements from 500 to 600 nm".
std::string ReductionText(const Reduction& reduction, const Label& x) {
  const bool from = !std::isnan(reduction.from), to = !std::isnan(reduction.to);
  const auto position = [&x](double at) { return WithUnits(NumberText(at), str_cString(x.units.c_str())); };
  if (from && to && reduction.from == reduction.to) return "element at " + position(reduction.from);
  const auto name = std::find_if(kinds.begin(), kinds.end(),
                                 [&](const auto& entry) { return entry.second == reduction.kind; });
  std::string text = name->first + " of all elements";
  if (from) text += " from " + position(reduction.from);
  if (to) text += " to " + position(reduction.to);
  return text;
}

/// The two dimensions along which the data lie.
std::pair<int, int> PlaneOf(const Series& series, const std::vector<int>& data) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const int count = dimensions.NumberDimensions();
  if (count == 2) return {0, 1};
  if (count < 2) {
    Fail("a map needs a series over 2 dimensions, and {} has {}", series.FilePath().CString(), count);
  }
  std::vector<int> varying;
  if (!data.empty()) {
    const arr_cC_Array<int> first = dimensions.IndexPosition(data.front());
    std::vector<bool> varies(static_cast<std::size_t>(count));
    for (const int i : data) {
      const arr_cC_Array<int> index = dimensions.IndexPosition(i);
      for (int d = 0; d < count; ++d) {
        if (index[d] != first[d]) varies[static_cast<std::size_t>(d)] = true;
      }
    }
    for (int d = 0; d < count; ++d) {
      if (varies[static_cast<std::size_t>(d)]) varying.push_back(d);
    }
  }
  if (varying.size() == 2) return {varying[0], varying[1]};
  Fail("a map needs data over 2 dimensions, and those chosen of {} lie along {} of its {}{}",
       series.FilePath().CString(), varying.size(), count,
       varying.size() > 2 ? "; choose one place along the others with --where" : "");
}

void Map(const Options& options) {
  options.axes ? CheckFigureName(options.output.path) : CheckPlaneName(options.output.path);
  if (const unsigned int data_type = KnownDataType(options.file); data_type != darr_c1DArray::DataTypeID()) {
    Fail("{} holds {}; a map needs {}", options.file, DataTypeName(data_type),
         DataTypeName(darr_c1DArray::DataTypeID()));
  }
  DataSeries<darr_c1DArray> series(options.file, bstr_OpenReadOnly);
  const std::vector<int> data = Chosen(series, options.choice);
  const auto [x, y] = PlaneOf(series, data);
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  arr_c2DNumberArray<double> values(dimensions.Dimension(x).Size(), dimensions.Dimension(y).Size(), nullptr,
                                    no_value, true);
  bool found = false;
  {
    Progress progress("mapping", static_cast<std::int64_t>(data.size()));
    std::int64_t done = 0;
    for (const int i : data) {
      const darr_c1DArray datum = series.Datum(i);
      const rnge_c1DIndexRange cells = CellsOf(datum, options);
      found = found || cells.NumIndicesX() > 0;
      const arr_cC_Array<int> index = dimensions.IndexPosition(i);
      values.SetValue(Reduced(datum, cells, options.reduction.kind), index[x], index[y]);
      progress.Show(++done);
    }
  }
  if (!found) Fail("no datum of {} has elements in this range", options.file);
  const darr_c2DArray map(values, cal_c2DArrayCal(dimensions.Dimension(x).Calibration().AxisX(),
                                                  dimensions.Dimension(y).Calibration().AxisX()));
  if (!options.axes) {
    Drawing drawing = options.drawing;
    drawing.stretch =
        drawing.stretch || bGreysOnly(options.output.path);  // values of a map are no whole numbers
    return WritePlane(options.output, map, drawing, options.file);
  }
  const Labels labels = LabelsOf(options.file);
  const Caption caption{TitleOf(labels, options.file), ReductionText(options.reduction, labels.x),
                        LabelOf(dimensions, x), LabelOf(dimensions, y), LabelText(labels.value)};
  WriteFigure(options.output, FigureOf(map, options.drawing, caption), options.file);
}

}  // namespace

void AddMap(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("map", "Draw each datum of a raster as one pixel");
  command.add_option("FILE", options->file, "A series of 1D data over two dimensions")->required();
  command
      .add_option_function<std::string>(
          "--value", [options](const std::string& text) { ParseReduction(text, options->reduction); },
          "The value of a pixel: the sum (default), mean, max or min of all elements of its datum or, as "
          "mean:500,600, of those between two positions; at:500 is the element at a position")
      ->type_name("WHAT[:FROM,TO]");
  command
      .add_option("--from", options->reduction.from,
                  "Take the elements from this position on; default: from the first one")
      ->type_name("A");
  command
      .add_option("--to", options->reduction.to,
                  "Up to this position; the same as --from for a single element")
      ->type_name("B");
  AddCells(command, options->cells);
  AddChoiceByOptions(command, options->choice);
  AddTarget(command, options->output,
            "A picture (.png, .bmp, .pgm), or the values themselves (.tif, .npy, .darr)")
      ->required();
  command.add_flag("--axes", options->axes,
                   "Draw axes, a title and a colour scale around the map (.png, .svg, .pdf)");
  AddColors(command, options->drawing);
  AddLabels(command, options->drawing);
  command.footer(
      "The first dimension runs to the right and the second one upwards; of more than\n"
      "two, those along which the chosen data lie. Places without data are drawn like\n"
      "those whose value is not a number. A sum with a missing element is not a number;\n"
      "mean, max and min leave missing elements out.\n\n"
      "Example: the first of 12 months, then the mean of the whole year\n"
      "  dseries map sst.dseries --value at:0 -o january.png --axes\n"
      "  dseries map sst.dseries --value mean -o year.png --colors viridis\n"
      "The warmest month of the three from June on, in the north\n"
      "  dseries map sst.dseries --value max:5,8 --where latitude=0, -o summer.png");
  command.callback([options] { Map(*options); });
}

}  // namespace dseries
