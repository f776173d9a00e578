#include <fmt/format.h>
#include <memory>
#include <string>

#include "cli/labels.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/seal.h"
#include "file/series.h"
#include "file/text.h"
#include "io/console.h"
#include "io/input.h"
#include "io/losses.h"
#include "io/system.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  std::string output;
  std::string type;
  bool force = false;
};

/// Throws Failure, before any datum is converted, when the converted data would not fit.
template <class Array>
void CheckRoom(DataSeries<Array>& from, const Series& to, dtyp_cDataType type) {
  const int filled = from.NextWriteIndex();
  std::int64_t bytes = filled > 0 ? filled * StoredSize(*from.Tag(0)) : 0;
  for (int i = 0; i < filled; ++i) bytes += from.SizeAs(type, i);
  if (bytes > to.Room()) {
    Fail(
        "{} of type {} would take {} bytes, and a series file has room for {} below 2 GiB; choose a smaller "
        "type",
        Count(filled, "datum", "data"), ElementName(type), bytes, to.Room());
  }
}

template <class Array>
int CopyConverted(const Options& options, const std::string& path, dtyp_cDataType type, Losses& losses) {
  DataSeries<Array> from(options.file, bstr_OpenReadOnly);
  DataSeries<Array> to(path, from.DimensionArray());
  CheckRoom(from, to, type);
  const int filled = from.NextWriteIndex();
  Progress progress("converting", filled);
  for (int i = 0; i < filled; ++i) {
    if (from.Checked(i) == dtsr_Wrong) {
      FailForDamage(options.file, fmt::format("datum {} of {} does not match its checksum", i, options.file));
    }
    to.Append(losses.Convert(from.Datum(i), fmt::format("datum {}, ", i)), *from.Tag(i));
    progress.Show(i + 1);
  }
  return filled;
}

void Convert(const Options& options) {
  const dtyp_cDataType type = ElementType(options.type);
  CheckStorable(type);
  const unsigned int data_type = KnownDataType(options.file);
  if (bSameFile(options.file, options.output)) Fail("{} is the series itself", options.output);
  if (const std::string unused = UnusedChecksums(options.file); !unused.empty()) PrintWarning(unused);
  const auto sums = OpenSealed(options.file);
  if (sums && sums->Checksums() == dtsr_HeaderDiffers) {
    FailForDamage(options.file,
                  fmt::format("the header or the dimensions of {} do not match the checksums", options.file));
  }
  Losses losses(type);
  int count = 0;
  MakeLabelledSeries(options.output, options.force, LabelsOf(options.file), [&](const std::string& path) {
    count = VisitDataType(data_type, [&]<class Array>(std::type_identity<Array>) {
      return CopyConverted<Array>(options, path, type, losses);
    });
  });
  if (sums) Series(options.output).Seal();
  if (const std::string text = losses.Text(); !text.empty()) PrintWarning(options.output + ": " + text);
  Note("{}: {} of type {}", options.output, Count(count, "datum", "data"), options.type);
}

}  // namespace

void AddConvert(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("convert", "Copy a series with its elements in another type");
  command.add_option("FILE", options->file, "The series file")->required();
  command.add_option("OUT", options->output, "The series file to make")->required();
  command
      .add_option("--type", options->type,
                  "The new element type. For integers, values are rounded and cut to the limits of the type, "
                  "and not-a-number becomes 0; the number of changed values is reported")
      ->type_name("TYPE")
      ->required()
      ->check(CLI::IsMember(ElementNames()));
  command.add_flag("-f,--force", options->force, "Replace a file that exists, and its labels");
  command.footer(
      "Dimensions, positions, tags and labels are kept. A series with checksums is\n"
      "compared with them, and the new one gets checksums of its own.\n\n"
      "Example:\n"
      "  dseries convert sst.dseries sst64.dseries --type float64");
  command.callback([options] { Convert(*options); });
}

}  // namespace dseries
