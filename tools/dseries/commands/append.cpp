#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "cli/progress.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/series.h"
#include "file/text.h"
#include "io/console.h"
#include "io/files.h"
#include "io/input.h"
#include "io/interrupt.h"
#include "io/newfile.h"
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
  double wait = 10;  ///< seconds for another writer
};

/// Makes the tag of the datum in a slot.
using TagOf = std::function<std::unique_ptr<dtsr_cDataTag>(int slot)>;

TagOf TagsFor(const Series& series, const Options& options) {
  const long time =
      options.time.empty() ? ParseTime(std::to_string(std::time(nullptr))) : ParseTime(options.time);
  const bool position = options.tag_position || !options.at.empty();
  const unsigned int kind = position ? obty_2DPositionType : obty_DataTagType;
  if (const unsigned int present = series.TagTypeID(); present != 0 && present != kind) {
    if (!bKnownTagType(present)) {
      Fail("the data in {} are tagged with {}; only a program that knows this kind can append", options.file,
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
      const arr_cC_Array<double> at = series.DimensionArray().Position(slot);
      return std::make_unique<dtsr_c2DPosition>(at[0], at[1], time);
    };
  }
  if (position) {
    const double x = options.at[0], y = options.at[1];
    if (!std::isfinite(x) || !std::isfinite(y)) Fail("a tag needs a finite position");
    return [=](int) { return std::make_unique<dtsr_c2DPosition>(x, y, time); };
  }
  return [time](int) { return std::make_unique<dtsr_cDataTag>(time); };
}

/// Reads and checks all inputs, before the first of them is stored.
template <class Array>
std::vector<Input<Array>> ReadInputs(const Options& options) {
  std::vector<Input<Array>> inputs;
  std::string told;  // once for files that look alike
  Progress progress("reading", static_cast<std::int64_t>(options.inputs.size()));
  for (const std::string& path : options.inputs) {
    inputs.push_back(ReadInput<Array>(path, options.form, PrintWarning));
    const std::string& found = inputs.back().found;
    if (!found.empty() && found != told) Complain("{}: {}", path, found);
    told = found;
    progress.Show(static_cast<std::int64_t>(inputs.size()));
  }
  return inputs;
}

/// Throws Failure, before any datum is stored, when the series has no slots for `count` data.
void CheckSlots(const Series& series, std::int64_t count) {
  const char* const file = series.FilePath().CString();
  const int room = series.Size() - series.NextWriteIndex();
  if (room == 0) {
    Fail("{} is full: all of its {} slots are filled; continue in another series", file, series.Size());
  }
  if (count > room) {
    Fail("{} has room for {}, and {} given; store the others in another series", file,
         Count(room, "more datum", "more data"), Count(count, "was", "were"));
  }
}

template <class Array>
void CheckRoom(const Series& series, const std::vector<Input<Array>>& inputs, std::int64_t tag_size) {
  std::int64_t count = 0, bytes = 0;
  for (const Input<Array>& input : inputs) {
    count += input.count.value_or(1);
    bytes += input.bytes + input.count.value_or(1) * tag_size;
  }
  CheckSlots(series, count);
  if (bytes > series.Room()) {
    Fail(
        "{} has room for {} bytes below 2 GiB, and {} would take {}; store fewer of them, elements of a "
        "smaller --type, or continue in another series",
        series.FilePath().CString(), std::max<std::int64_t>(series.Room(), 0), Count(count, "datum", "data"),
        bytes);
  }
}

/// "3 of 5 data were stored", or "3 data were stored" without a count.
std::string StoredText(std::int64_t done, std::optional<std::int64_t> count) {
  if (count) return fmt::format("{} of {} data were stored", done, *count);
  return Count(done, "datum was stored", "data were stored");
}

/// Opens the series as its only writer. Throws Failure when another one holds it for too long.
template <class Array>
std::unique_ptr<DataSeries<Array>> OpenLocked(const Options& options) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration<double>(options.wait);
  for (bool reported = false;;) {
    try {
      return std::make_unique<DataSeries<Array>>(options.file, bstr_OpenLocked);
    } catch (const dtsr_cFileLockedException& error) {
      if (Clock::now() >= end) {
        Fail("{} is being written by {}; nothing was stored", options.file, error.Holder().CString());
      }
      if (!reported) Complain("{} is being written by {}; waiting", options.file, error.Holder().CString());
      reported = true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

template <class Array>
void AppendInputs(const Options& options) {
  const std::unique_ptr<DataSeries<Array>> locked = OpenLocked<Array>(options);
  DataSeries<Array>& series = *locked;
  const TagOf tag_of = TagsFor(series, options);
  CheckSlots(series, static_cast<std::int64_t>(options.inputs.size()));  // each holds a datum or more

  const std::vector<Input<Array>> inputs = ReadInputs<Array>(options);
  CheckRoom(series, inputs, StoredSize(*tag_of(0)));
  std::optional<std::int64_t> count = 0;
  for (const Input<Array>& input : inputs)
    count = count && input.count ? std::optional(*count + *input.count) : std::nullopt;

  const Deferral deferral;  // each datum is stored whole or not at all, and their number is reported
  std::int64_t done = 0;
  try {
    Progress progress("appending", count.value_or(0));
    for (const Input<Array>& input : inputs) {
      while (const std::optional<Array> datum = input.next()) {
        CheckInterruption();
        if (series.NextWriteIndex() == series.Size())
          Fail("{} is full, and there are more data", options.file);
        series.Append(*datum, *tag_of(series.NextWriteIndex()));
        ++done;
        if (count) progress.Show(done);
      }
    }
  } catch (const Interruption& interruption) {
    throw Interruption(interruption.Signal(),
                       fmt::format("{}; {}", interruption.what(), StoredText(done, count)));
  } catch (const Failure& failure) {
    Fail("{}; {}", failure.what(), StoredText(done, count));
  } catch (const expt_cUserException& error) {
    Fail("{} {}", error.Message().CString(), StoredText(done, count));
  }
  Note("{}: {} appended, {} of {} slots filled", options.file, Count(done, "datum", "data"),
       series.NextWriteIndex(), series.Size());
}

/// Removes the missing inputs, reports and returns them, unless all are missing.
std::vector<std::string> TakeMissing(std::vector<std::string>& inputs) {
  const auto missing = [](const std::string& path) { return path != "-" && !bExists(path); };
  const auto first = std::stable_partition(inputs.begin(), inputs.end(), std::not_fn(missing));
  if (first == inputs.begin()) return {};
  std::vector<std::string> taken(first, inputs.end());
  inputs.erase(first, inputs.end());
  for (const std::string& path : taken) Complain("there is no file {}", path);
  return taken;
}

void Append(Options options) {
  options.inputs = Expanded(options.inputs);
  const std::vector<std::string> missing = TakeMissing(options.inputs);
  if (!options.type.empty()) options.form.type = ElementType(options.type);
  VisitDataType(KnownDataType(options.file), [&]<class Array>(std::type_identity<Array>) {
    CheckForm(options.form, std::is_same_v<Array, darr_c2DArray> ? 2 : 1);
    AppendInputs<Array>(options);
  });
  if (!missing.empty()) {
    Fail("stored: {}; not stored: {}", fmt::join(options.inputs, ", "), fmt::join(missing, ", "));
  }
}

}  // namespace

void AddAppend(CLI::App& program) {
  auto options = std::make_shared<Options>();
  InputForm& form = options->form;
  CLI::App& command = *program.add_subcommand("append", "Store data in the next free slots of a series");
  command.add_option("FILE", options->file, "The series file")->required();
  command
      .add_option("INPUT", options->inputs,
                  "Texts with one number per line (a value) or two (a position and a value; positions evenly "
                  "spaced within their printed digits); for series of 2D data grey pictures (PGM, 8-bit BMP) "
                  "and raw 2D arrays (.darr); or, with --raw, raw numbers. - is standard input. Quoted names "
                  "with * match in natural order: run_2 before run_10")
      ->required();
  command
      .add_option("--time", options->time,
                  "When the data were taken: ISO 8601 (UTC where no zone is given) or "
                  "seconds since 1970; default: now")
      ->type_name("TIME")
      ->check(StorableTime());
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
                                     "The inputs are raw little-endian numbers, this many per datum; 2D data "
                                     "begin with the bottom row")
                         ->type_name("NX[,NY]")
                         ->delimiter(',')
                         ->allow_extra_args(false)
                         ->check(WholeNumber(1));
  command
      .add_flag("--interleaved", form.interleaved,
                "Raw: element 0 of all data comes first, then element 1 of all of "
                "them, and so on")
      ->needs(raw);
  command
      .add_option("--type", options->type,
                  "Element type: of raw inputs (default float32); texts (default float64) and pictures "
                  "(default ubin8) are converted to it. For integers, values are rounded and cut to the "
                  "limits of the type, and not-a-number becomes 0; the number of changed values is reported")
      ->type_name("TYPE")
      ->check(CLI::IsMember(ElementNames()));
  command
      .add_option("--wait", options->wait,
                  "How long to wait while another program writes to the series; default 10")
      ->type_name("SECONDS")
      ->check(CLI::NonNegativeNumber);
  AddCalibration(command, form);
  AddTextForm(command, form.text, raw);
  command
      .add_flag("--even", form.even,
                "Texts: accept uneven positions that lie within half a step of even ones")
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
