#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "commands/commands.h"
#include "file/dimensions.h"
#include "file/series.h"
#include "io/newfile.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  std::vector<std::string> dimensions;
  bool images = false;
  bool force = false;
};

void Create(const Options& options) {
  const dtsr_cDimensionArray dimensions = ParseDimensions(options.dimensions);
  MakeSeries(options.file, options.force, [&](const std::string& path) {
    VisitDataType(
        options.images ? darr_c2DArray::DataTypeID() : darr_c1DArray::DataTypeID(),
        [&]<class Array>(std::type_identity<Array>) { const DataSeries<Array> series(path, dimensions); });
  });
}

}  // namespace

void AddCreate(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("create", "Make an empty series file");
  command.add_option("FILE", options->file, "The file to make, named *.dseries")->required();
  command
      .add_option(
          "-d,--dim", options->dimensions,
          "A dimension, the fastest one first: its name, units, number of indices, position of the first "
          "index, and step to the next; 'reverse' if data are taken from the highest index down")
      ->type_name("NAME,UNITS,SIZE,OFFSET,DELTA[,reverse]")
      ->required()
      ->allow_extra_args(false);
  command.add_flag("--images", options->images, "For 2D data (pictures and the like) instead of 1D data");
  command.add_flag("-f,--force", options->force, "Replace a file that exists");
  command.footer(
      "Example: a raster of 180 x 90 places\n"
      "  dseries create sst.dseries --dim longitude,degrees_east,180,21,2 \\\n"
      "                             --dim latitude,degrees_north,90,-89,2\n"
      "12 pictures, one of each month\n"
      "  dseries create months.dseries --images --dim month,,12,0,1");
  command.callback([options] { Create(*options); });
}

}  // namespace dseries
