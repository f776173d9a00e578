#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/choice.h"
#include "cli/mapping.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "figure/plane.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/series.h"
#include "io/files.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
  Mapping mapping;
  Target output;
  bool axes = false;
  Drawing drawing;
};

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
  PixelMap pixels(dimensions, x, y, options.mapping);
  {
    Progress progress("mapping", static_cast<std::int64_t>(data.size()));
    std::int64_t done = 0;
    for (const int i : data) {
      pixels.Add(series.Datum(i), i);
      progress.Show(++done);
    }
  }
  if (!pixels.bFound()) Fail("no datum of {} has elements in this range", options.file);
  const darr_c2DArray map = pixels.Plane();
  if (!options.axes) {
    Drawing drawing = options.drawing;
    drawing.stretch =
        drawing.stretch || bGreysOnly(options.output.path);  // values of a map are no whole numbers
    return WritePlane(options.output, map, drawing, options.file);
  }
  WriteFigure(options.output, FigureOf(map, options.drawing, pixels.CaptionOf(options.file)), options.file);
}

}  // namespace

void AddMap(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("map", "Draw each datum of a raster as one pixel");
  command.add_option("FILE", options->file, "A series of 1D data over two dimensions")->required();
  AddMapping(command, options->mapping);
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
