#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "dimensions.h"
#include "failure.h"
#include "newfile.h"
#include "series.h"
#include <DataStorage/data/darray1d.h>

namespace dseries {

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string file;
  std::vector<std::string> dimensions;
  bool force = false;
};

void Create(const Options& options) {
  const dtsr_cDimensionArray dimensions = ParseDimensions(options.dimensions);
  if (fs::is_directory(options.file)) Fail("{} is a folder", options.file);
  const bool replace = bExists(options.file);
  if (replace && !options.force) Fail("{} exists already; --force replaces it", options.file);

  // What is replaced stays until its successor is complete.
  const std::string path = replace ? options.file + ".new" : options.file;
  if (replace && bExists(path)) Fail("{} is in the way; remove it first", path);
  Unfinished file(path);
  { const DataSeries<darr_c1DArray> series(path, dimensions); }
  if (replace) fs::rename(path, options.file);
  file.Finished();
}

}  // namespace

void AddCreate(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("create", "Make an empty series file");
  command.add_option("FILE", options->file, "The file to make, named *.dseries")->required();
  command
      .add_option("-d,--dim", options->dimensions,
                  "A dimension, the fastest one first: its name, its units, how many "
                  "indices it has, the position of the first one and the step to the "
                  "next; 'reverse' when data are taken from the highest index down")
      ->type_name("NAME,UNITS,SIZE,OFFSET,DELTA[,reverse]")
      ->required()
      ->allow_extra_args(false);
  command.add_flag("-f,--force", options->force, "Replace a file that exists");
  command.footer(
      "Example: a raster of 180 x 90 places\n"
      "  dseries create sst.dseries --dim longitude,degrees_east,180,21,2 \\\n"
      "                             --dim latitude,degrees_north,90,-89,2");
  command.callback([options] { Create(*options); });
}

}  // namespace dseries
