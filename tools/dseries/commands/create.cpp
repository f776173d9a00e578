#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "cli/labels.h"
#include "commands/commands.h"
#include "file/dimensions.h"
#include "file/series.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  std::vector<std::string> dimensions;
  bool images = false;
  bool force = false;
  bool checksums = false;
  LabelEdits labels;
};

void Create(const Options& options) {
  const dtsr_cDimensionArray dimensions = ParseDimensions(options.dimensions);
  const unsigned int data_type = options.images ? darr_c2DArray::DataTypeID() : darr_c1DArray::DataTypeID();
  Labels labels;
  Edit(labels, options.labels, data_type);
  if (options.checksums) RequireChecksums(options.file);
  MakeLabelledSeries(options.file, options.force, labels, [&](const std::string& path) {
    VisitDataType(data_type, [&]<class Array>(std::type_identity<Array>) {
      const DataSeries<Array> series(path, dimensions);
    });
  });
  if (options.checksums) Series(options.file).Seal();
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
  command.add_flag("-f,--force", options->force, "Replace a file that exists, and its labels");
  command.add_flag("--checksums", options->checksums,
                   "Store a checksum with each datum that 'dseries append' stores, as 'dseries seal' does");
  AddLabelEdits(command, options->labels);
  command.footer(
      "Example: a raster of 180 x 90 places\n"
      "  dseries create sst.dseries --dim longitude,degrees_east,180,21,2 \\\n"
      "                             --dim latitude,degrees_north,90,-89,2\n"
      "Spectra, and what their axes are\n"
      "  dseries create samples.dseries --dim sample,,20,1,1 \\\n"
      "    --x 'Energy (eV)' --value counts --set operator='J. Doe'\n"
      "12 pictures, one of each month\n"
      "  dseries create months.dseries --images --dim month,,12,0,1");
  command.callback([options] { Create(*options); });
}

}  // namespace dseries
