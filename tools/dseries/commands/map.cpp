#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <memory>
#include <string>

#include "cli/progress.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "figure/plane.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/series.h"
#include "file/text.h"
#include "io/files.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

namespace {

constexpr double no_value = std::numeric_limits<double>::quiet_NaN();

struct Options {
  std::string file;
  double from = no_value;
  double to = no_value;
  Target output;
  bool axes = false;
  Drawing drawing;
};

/// The indices of the elements whose cells the range touches.
rnge_c1DIndexRange Cells(const darr_c1DArray& array, double from, double to) {
  const rnge_c1DRange whole = array.Range();
  const rnge_c1DRange range(std::isnan(from) ? whole.StartX() : from, std::isnan(to) ? whole.EndX() : to);
  const rnge_c1DIndexRange cells(range, array.Cal(), rnge_IndexOuter);
  const int start = std::clamp(cells.StartIndexX(), 0, array.NumIndices());
  return {start, std::clamp(cells.EndIndexX(), start, array.NumIndices())};
}

/// The sum of the elements; not-a-number if there are none.
double Sum(const darr_c1DArray& array, const rnge_c1DIndexRange& cells) {
  if (cells.NumIndicesX() == 0) return no_value;
  double sum = 0;
  for (int i = cells.StartIndexX(); i < cells.EndIndexX(); ++i) sum += array.Value(i).Value();
  return sum;
}

std::string SumText(const Options& options) {
  const bool from = !std::isnan(options.from), to = !std::isnan(options.to);
  if (from && to && options.from == options.to) return "element at " + NumberText(options.from);
  std::string text = "sum of all elements";
  if (from) text += " from " + NumberText(options.from);
  if (to) text += " to " + NumberText(options.to);
  return text;
}

void Map(const Options& options) {
  options.axes ? CheckFigureName(options.output.path) : CheckPlaneName(options.output.path);
  if (const unsigned int data_type = KnownDataType(options.file); data_type != darr_c1DArray::DataTypeID()) {
    Fail("{} holds {}; a map needs {}", options.file, DataTypeName(data_type),
         DataTypeName(darr_c1DArray::DataTypeID()));
  }
  DataSeries<darr_c1DArray> series(options.file, bstr_OpenReadOnly);
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  if (dimensions.NumberDimensions() != 2) {
    Fail("a map needs a series over 2 dimensions, and {} has {}", options.file,
         dimensions.NumberDimensions());
  }
  const int nx = dimensions.Dimension(0).Size(), ny = dimensions.Dimension(1).Size();
  arr_c2DNumberArray<double> sums(nx, ny, nullptr, no_value, true);
  const int filled = series.NextWriteIndex();
  bool found = false;
  {
    Progress progress("mapping", filled);
    for (int i = 0; i < filled; ++i) {
      const darr_c1DArray datum = series.Datum(i);
      const rnge_c1DIndexRange cells = Cells(datum, options.from, options.to);
      found = found || cells.NumIndicesX() > 0;
      const arr_cC_Array<int> index = dimensions.IndexPosition(i);
      sums.SetValue(Sum(datum, cells), index[0], index[1]);
      progress.Show(i + 1);
    }
  }
  if (!found) Fail("no datum of {} has elements in this range", options.file);
  const cal_c2DArrayCal cal(dimensions.Dimension(0).Calibration().AxisX(),
                            dimensions.Dimension(1).Calibration().AxisX());
  const darr_c2DArray map(sums, cal);
  if (!options.axes) return WritePlane(options.output, map, options.drawing, options.file);
  const Caption caption{FileName(options.file), SumText(options), LabelOf(dimensions, 0),
                        LabelOf(dimensions, 1), ""};
  WriteFigure(options.output, FigureOf(map, options.drawing, caption), options.file);
}

}  // namespace

void AddMap(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("map", "Draw each datum of a raster as one pixel");
  command.add_option("FILE", options->file, "A series of 1D data over two dimensions")->required();
  command
      .add_option("--from", options->from,
                  "Sum the elements from this position on; default: from the first one. An element reaches "
                  "from its position up to the next one")
      ->type_name("A");
  command.add_option("--to", options->to, "Up to this position; the same as --from for a single element")
      ->type_name("B");
  AddTarget(command, options->output,
            "A picture (.png, .bmp, .pgm), or the sums themselves as a raw 2D array (.darr)")
      ->required();
  command.add_flag("--axes", options->axes,
                   "Draw axes, a title and a colour scale around the map (.png, .svg, .pdf)");
  AddColors(command, options->drawing);
  AddLabels(command, options->drawing);
  command.footer(
      "The first dimension runs to the right and the second one upwards. Places without\n"
      "data are drawn like those whose sum is not a number.\n\n"
      "Example: the first of 12 months, then the whole year\n"
      "  dseries map sst.dseries --from 0 --to 0 -o january.png --axes\n"
      "  dseries map sst.dseries --from 0 --to 12 -o year.png --colors viridis");
  command.callback([options] { Map(*options); });
}

}  // namespace dseries
