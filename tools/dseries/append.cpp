#include <cmath>
#include <cstdint>
#include <ctime>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "format.h"
#include "header.h"
#include "input.h"
#include "progress.h"
#include "series.h"
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/expt.h>

namespace dseries {

namespace {

struct Options {
  std::string file;
  std::vector<std::string> inputs;
  InputForm form;
  std::string type;
  std::string time;
  std::vector<double> at;
  bool tag_position = false;
};

/// Makes the tag of the datum in a slot.
using TagOf = std::function<std::unique_ptr<dtsr_cDataTag>(int slot)>;

TagOf TagsFor(const Series& series, const Options& options) {
  const long time = options.time.empty() ? static_cast<long>(std::time(nullptr)) : ParseTime(options.time);
  const bool position = options.tag_position || !options.at.empty();
  const unsigned int kind = position ? obty_2DPositionType : obty_DataTagType;
  if (const unsigned int present = series.TagTypeID(); present != 0 && present != kind) {
    if (!bKnownTagType(present)) {
      Fail("the data in {} are tagged with {}; only a program that knows it can append", options.file,
           TagTypeName(present));
    }
    Fail("the data in {} are tagged with {}; {}", options.file, TagTypeName(present),
         position ? "leave out --at and --tag-position" : "add --at X,Y or --tag-position");
  }
  if (options.tag_position) {
    if (series.DimensionArray().NumberDimensions() < 2) {
      Fail("--tag-position needs two dimensions, and {} has fewer", options.file);
    }
    return [&series, time](int slot) {
      const arr_cC_Array<double> place = series.DimensionArray().Position(slot);
      return std::make_unique<dtsr_c2DPosition>(place[0], place[1], time);
    };
  }
  if (position) {
    const double x = options.at[0], y = options.at[1];
    if (!std::isfinite(x) || !std::isfinite(y)) Fail("a tag needs a finite position");
    return [=](int) { return std::make_unique<dtsr_c2DPosition>(x, y, time); };
  }
  return [time](int) { return std::make_unique<dtsr_cDataTag>(time); };
}

/// All inputs, read and found good before the first of them is stored.
template <class Array>
std::vector<Input<Array>> ReadInputs(const Options& options) {
  std::vector<Input<Array>> inputs;
  Progress progress("reading", static_cast<std::int64_t>(options.inputs.size()));
  for (const std::string& path : options.inputs) {
    inputs.push_back(ReadInput<Array>(path, options.form, PrintWarning));
    progress.Show(static_cast<std::int64_t>(inputs.size()));
  }
  return inputs;
}

template <class Array>
void AppendInputs(const Options& options) {
  DataSeries<Array> series(options.file);
  const TagOf tag_of = TagsFor(series, options);

  const std::vector<Input<Array>> inputs = ReadInputs<Array>(options);
  std::int64_t count = 0;
  for (const Input<Array>& input : inputs) count += input.count;
  if (const int room = series.Size() - series.NextWriteIndex(); count > room) {
    if (room == 0) Fail("{} is full: all of its {} slots are filled", options.file, series.Size());
    Fail("{} has room for {}, and {} given", options.file, Count(room, "more datum", "more data"),
         Count(count, "was", "were"));
  }

  std::int64_t done = 0;
  Progress progress("appending", count);
  try {
    for (const Input<Array>& input : inputs) {
      for (int i = 0; i < input.count; ++i) {
        series.Append(input.datum(i), *tag_of(series.NextWriteIndex()));
        progress.Show(++done);
      }
    }
  } catch (const expt_cUserException& error) {
    Fail("{} {} of {} data were stored", error.Message().CString(), done, count);
  }
  fmt::print("{}: {} appended, {} of {} slots filled\n", options.file, Count(count, "datum", "data"),
             series.NextWriteIndex(), series.Size());
}

void Append(Options options) {
  options.inputs = Expanded(options.inputs);
  if (!options.type.empty()) options.form.type = ElementType(options.type);
  VisitDataType(KnownDataType(options.file), [&]<class Array>(std::type_identity<Array>) {
    CheckForm(options.form, std::is_same_v<Array, darr_c2DArray> ? 2 : 1);
    AppendInputs<Array>(options);
  });
}

}  // namespace

void AddAppend(CLI::App& program) {
  auto options = std::make_shared<Options>();
  InputForm& form = options->form;
  CLI::App& command = *program.add_subcommand("append", "Store data in the next free slots of a series");
  command.add_option("FILE", options->file, "The series file")->required();
  command
      .add_option(
          "INPUT", options->inputs,
          "Texts with one number a line (values) or two (position and value, the positions even within "
          "their printed digits); for series of 2D data "
          "grey pictures (PGM, 8-bit BMP) and raw 2D arrays (.darr); or raw numbers. - is standard "
          "input. Names with * in quotes are taken in their natural order: run_2 before run_10")
      ->required();
  command
      .add_option("--time", options->time,
                  "When the data were taken: ISO 8601 (UTC where no zone is given) or "
                  "seconds since 1970; default: now")
      ->type_name("TIME");
  CLI::Option* at = command.add_option("--at", options->at, "Where the data were taken")
                        ->type_name("X,Y")
                        ->delimiter(',')
                        ->expected(2);
  command
      .add_flag("--tag-position", options->tag_position,
                "Where the data were taken: the position of each slot along the "
                "first two dimensions")
      ->excludes(at);
  CLI::Option* raw = command
                         .add_option("--raw", form.raw,
                                     "The inputs are raw little-endian numbers, so many for each datum; of "
                                     "2D data the bottom row first")
                         ->type_name("NX[,NY]")
                         ->delimiter(',')
                         ->allow_extra_args(false)
                         ->check(CLI::PositiveNumber);
  command
      .add_flag("--interleaved", form.interleaved,
                "Raw: element 0 of all data comes first, then element 1 of all of "
                "them, and so on")
      ->needs(raw);
  command
      .add_option("--type", options->type,
                  "Element type: of raw inputs (default float32); texts (default float64) "
                  "and pictures (default ubin8) are converted to it. Integers take the nearest whole number, "
                  "the nearest one they have for values beyond them, and 0 for not-a-number; how many values "
                  "change is reported")
      ->type_name("TYPE")
      ->check(CLI::IsMember(ElementNames()));
  AddCalibration(command, form);
  command
      .add_option("--missing", form.missing,
                  "Texts: a word or number that stands for a missing value, which is stored as not-a-number; "
                  "may be repeated. Always: --, NA, N/A, nan, nothing between tabs, and of values alone an "
                  "empty line")
      ->type_name("WORD")
      ->allow_extra_args(false)
      ->excludes(raw);
  command
      .add_flag(
          "--even", form.even,
          "Texts: take positions that are uneven, as long as the even ones lie within half a step of them")
      ->excludes(raw);
  command.footer(
      "Example: two spectra, then a raster of raw data with 12 numbers for each place\n"
      "  dseries append spectra.dseries first.dat second.dat --time 2024-02-29T12:00\n"
      "  dseries append sst.dseries sst.f32 --raw 12 --interleaved --tag-position\n"
      "Pictures, and the same raw data as 12 maps, into series of 2D data\n"
      "  dseries append cells.dseries cell.pgm --offset 0,0 --delta 0.1,0.1\n"
      "  dseries append months.dseries sst.f32 --raw 180,90 --offset 21,-89 --delta 2,2");
  command.callback([options] { Append(*options); });
}

}  // namespace dseries
