#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <functional>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "cli/labels.h"
#include "cli/progress.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/seal.h"
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
  bool file_time = false;
  std::vector<double> at;
  bool tag_position = false;
  double wait = 10;  ///< seconds for another writer
  std::string durability;
  bool checksums = false;
  // Of a new series:
  bool create = false;
  bool images = false;
  std::vector<std::string> dimensions;
  int slots = 1000;
};

/// When appended data are synced, as `--durability` gives it.
struct Durability {
  dtsr_eDurability mode = dtsr_DurabilityNone;
  int data = 100;
  int milliseconds = 1000;
};

/// None when the text is not one.
std::optional<Durability> ParseDurability(const std::string& text) {
  if (text.empty() || text == "none") return Durability{};
  if (text == "strict") return Durability{dtsr_DurabilityStrict};
  static const std::regex group("group(?::([0-9]{1,9})(?:,([0-9]{1,9}))?)?");
  std::smatch match;
  if (!std::regex_match(text, match, group)) return {};
  Durability durability{dtsr_DurabilityGroup};
  if (match[1].matched) durability.data = std::stoi(match[1]);
  if (match[2].matched) durability.milliseconds = std::stoi(match[2]);
  return durability.data > 0 ? std::optional(durability) : std::nullopt;
}

/// Does what keeps the data over power cuts, and goes on with checksums that are there.
void Protect(Series& series, const Options& options) {
  const Durability durability = *ParseDurability(options.durability);
  const bool kept = series.Checksums() >= dtsr_HasChecksums;
  if (kept || options.checksums || durability.mode == dtsr_DurabilityGroup) {
    if (series.KeepChecksums() == dtsr_OtherChecksums) {
      Complain("the checksums beside {} were damaged or of other data; new ones begin here", options.file);
    }
  }
  if (const std::string unused = UnusedChecksums(options.file); !unused.empty()) Complain("{}", unused);
  if (durability.mode != dtsr_DurabilityNone) {
    series.SetDurability(durability.mode, durability.data, durability.milliseconds);
  }
}

/// When and where the data of an input were taken: one stamp for each, or one for all.
template <class Array>
std::vector<Stamp> StampsOf(const Input<Array>& input, const std::string& path, const Options& options,
                            long now) {
  std::vector<Stamp> stamps = input.stamps.empty() ? std::vector{Stamp{now, {}}} : input.stamps;
  for (Stamp& stamp : stamps) {
    if (!options.time.empty()) stamp.time = ParseTime(options.time);
    if (options.file_time) stamp.time = ModificationTime(path);
    if (!options.at.empty()) stamp.position = {options.at[0], options.at[1]};
    if (stamp.position && (!std::isfinite(stamp.position->first) || !std::isfinite(stamp.position->second)))
      Fail("a tag needs a finite position");
  }
  return stamps;
}

/// Throws Failure when the series cannot take tags with positions or, if `position` is false, without them.
void CheckTags(const Series& series, const Options& options, bool position) {
  const unsigned int kind = position ? obty_2DPositionType : obty_DataTagType;
  if (const unsigned int present = series.TagTypeID(); present != 0 && present != kind) {
    if (!bKnownTagType(present)) {
      Fail("the data in {} are tagged with {}; only a program that knows this kind can append", options.file,
           TagTypeName(present));
    }
    const bool given = options.tag_position || !options.at.empty();
    Fail("the data in {} are tagged with {}{}", options.file, TagTypeName(present),
         !position ? "; add --at X,Y or --tag-position"
         : given   ? "; leave out --at and --tag-position"
                   : ", and those to append with a position as well");
  }
  if (options.tag_position && series.DimensionArray().NumberDimensions() < 2) {
    Fail("--tag-position needs two dimensions, and {} has fewer", options.file);
  }
}

std::unique_ptr<dtsr_cDataTag> TagFor(const Series& series, int slot, const Stamp& stamp,
                                      const Options& options) {
  if (options.tag_position) {
    const arr_cC_Array<double> at = series.DimensionArray().Position(slot);
    return std::make_unique<dtsr_c2DPosition>(at[0], at[1], stamp.time);
  }
  if (stamp.position)
    return std::make_unique<dtsr_c2DPosition>(stamp.position->first, stamp.position->second, stamp.time);
  return std::make_unique<dtsr_cDataTag>(stamp.time);
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

/// The number of data, if it is known of every input.
template <class Array>
std::optional<std::int64_t> CountOf(const std::vector<Input<Array>>& inputs) {
  std::optional<std::int64_t> count = 0;
  for (const Input<Array>& input : inputs)
    count = count && input.count ? std::optional(*count + *input.count) : std::nullopt;
  return count;
}

/// Makes a series for the inputs, which were read; by default over one dimension that counts the data.
template <class Array>
void Create(const Options& options, const std::vector<Input<Array>>& inputs) {
  const std::int64_t slots = std::max<std::int64_t>(options.slots, CountOf(inputs).value_or(0));
  const std::vector<std::string> counts{fmt::format("number,,{},0,1", slots)};
  const dtsr_cDimensionArray dimensions =
      ParseDimensions(options.dimensions.empty() ? counts : options.dimensions);
  MakeLabelledSeries(options.file, false, {},
                     [&](const std::string& path) { const DataSeries<Array> series(path, dimensions); });
}

/// The labels in the header of the first input become those of a series without labels; not the words with
/// which `export` heads columns that have none. Warns of units that are not those of the series.
template <class Array>
void LabelSeries(const Options& options, const std::vector<Input<Array>>& inputs) {
  const auto label = [](const std::string& text, const char* none) {
    return text == none ? Label() : ParseLabel(text);
  };
  Labels labels = LabelsOf(options.file);
  const bool labelled = !labels.x.bEmpty() || !labels.y.bEmpty() || !labels.value.bEmpty();
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const Label pixels{"", inputs[i].units};
    const Label x = pixels.bEmpty() ? label(inputs[i].x, "position") : pixels;
    const Label value = label(inputs[i].value, "value");
    if (i == 0 && !labelled && !(x.bEmpty() && value.bEmpty())) {
      labels.x = x;
      labels.y = pixels;
      labels.value = value;
      SaveLabels(options.file, labels);
    }
    const auto check = [&](const Label& own, const Label& known) {
      if (own.units.empty() || known.units.empty() || own.units == known.units) return;
      PrintWarning(fmt::format("{} has units of {}, and {} is labelled with {}", options.inputs[i], own.units,
                               options.file, known.units));
    };
    check(x, labels.x);
    check(value, labels.value);
  }
}

template <class Array>
void Store(DataSeries<Array>& series, const std::vector<Input<Array>>& inputs, const Options& options) {
  const long now = ParseTime(std::to_string(std::time(nullptr)));
  std::vector<std::vector<Stamp>> stamps;
  for (std::size_t i = 0; i < inputs.size(); ++i)
    stamps.push_back(StampsOf(inputs[i], options.inputs[i], options, now));
  const auto position = [](const auto& stamp) { return stamp.position.has_value(); };
  const bool positions = position(stamps.front().front());
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (std::count_if(stamps[i].begin(), stamps[i].end(), position) !=
        (positions ? std::ssize(stamps[i]) : 0))
      Fail(
          "{}: the data have positions in their tags and those of {} have none, or the reverse; --at X,Y or "
          "--tag-position sets them",
          options.inputs[i], options.inputs.front());
  }
  CheckTags(series, options, positions || options.tag_position);
  CheckRoom(series, inputs, StoredSize(*TagFor(series, 0, stamps.front().front(), options)));
  const std::optional<std::int64_t> count = CountOf(inputs);

  const Deferral deferral;  // each datum is stored whole or not at all, and their number is reported
  std::int64_t done = 0;
  try {
    Progress progress("appending", count.value_or(0));
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      std::size_t n = 0;
      while (const std::optional<Array> datum = inputs[i].next()) {
        CheckInterruption();
        const int slot = series.NextWriteIndex();
        if (slot == series.Size()) Fail("{} is full, and there are more data", options.file);
        const Stamp& stamp = stamps[i][std::min(n++, stamps[i].size() - 1)];
        series.Append(*datum, *TagFor(series, slot, stamp, options));
        ++done;
        if (count) progress.Show(done);
      }
    }
    if (ParseDurability(options.durability)->mode != dtsr_DurabilityNone) series.Sync();
  } catch (const Interruption& interruption) {
    throw Interruption(interruption.Signal(),
                       fmt::format("{}; {}", interruption.what(), StoredText(done, count)));
  } catch (const Failure& failure) {
    Fail("{}; {}", failure.what(), StoredText(done, count));
  } catch (const expt_cUserException& error) {
    Fail("{} {}", error.Message().CString(), StoredText(done, count));
  }
  const dtsr_eRefreshed found = series.Refresh();
  if (found == dtsr_Removed || found == dtsr_Replaced) {
    Fail("{} was {} meanwhile: {} in a file that has no name now", options.file,
         found == dtsr_Removed ? "removed" : "replaced", Count(done, "datum was stored", "data were stored"));
  }
  Note("{}: {} appended, {} of {} slots filled", options.file, Count(done, "datum", "data"),
       series.NextWriteIndex(), series.Size());
}

template <class Array>
void AppendInputs(const Options& options) {
  std::vector<Input<Array>> inputs;
  if (options.create) {
    if (bExists(options.file)) Fail("{} exists already; leave out --new to append to it", options.file);
    CheckSeriesName(options.file);
    inputs = ReadInputs<Array>(options);
    Create(options, inputs);
  }
  const std::unique_ptr<DataSeries<Array>> series = OpenLocked<Array>(options);
  try {
    if (!options.create) {
      CheckSlots(*series, static_cast<std::int64_t>(options.inputs.size()));  // each holds a datum or more
      inputs = ReadInputs<Array>(options);
    }
    Protect(*series, options);
    Store(*series, inputs, options);
  } catch (...) {
    if (options.create && series->NextWriteIndex() == 0) {
      std::filesystem::remove(options.file);
      RemoveChecksums(options.file);
    }
    throw;
  }
  LabelSeries(options, inputs);
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

/// Whether the inputs of a new series are planes, as the first of them is.
bool bPlanes(const Options& options) {
  const std::string& first = options.inputs.front();
  if (!options.form.raw.empty()) return options.form.raw.size() == 2;
  return options.images || (first != "-" && !bStream(first) && bPlane(first));
}

void Append(Options options) {
  options.inputs = Expanded(options.inputs);
  const std::vector<std::string> missing = TakeMissing(options.inputs);
  if (!options.type.empty()) options.form.type = ElementType(options.type);
  const unsigned int type = !options.create    ? KnownDataType(options.file)
                            : bPlanes(options) ? darr_c2DArray::DataTypeID()
                                               : darr_c1DArray::DataTypeID();
  VisitDataType(type, [&]<class Array>(std::type_identity<Array>) {
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
      .add_option(
          "INPUT", options->inputs,
          "Texts with numbers in columns: values, or positions (evenly spaced within their printed "
          "digits) and the values of one datum or more; for series of 2D data pictures (TIFF, PNG, JPEG, "
          "BMP, PGM, PPM) and raw 2D arrays (.darr); NumPy arrays (.npy), whose first axis counts the "
          "data if they have one more than a datum; or, with --raw, raw numbers. - is standard input. "
          "Quoted names with * match in natural order: run_2 before run_10")
      ->required();
  command
      .add_option("--time", options->time,
                  "When the data were taken: ISO 8601 (UTC where no zone is given) or "
                  "seconds since 1970; default: now")
      ->type_name("TIME")
      ->check(StorableTime());
  command
      .add_flag("--file-time", options->file_time,
                "The data were taken when their input file was last changed")
      ->excludes("--time");
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
      ->check(Number(0, 1e8));
  command
      .add_option(
          "--durability", options->durability,
          "What a power cut may take: 'none' (default) what the system has not yet written to the disk, "
          "usually the last half minute; 'group' less than N data (default 100), which are synced "
          "together, also when the last sync was MS milliseconds ago (default 1000), with checksums "
          "that show which of the last ones are damaged; 'strict' nothing: each datum is synced")
      ->type_name("none|group[:N[,MS]]|strict")
      ->check([](const std::string& text) {
        return ParseDurability(text)
                   ? std::string()
                   : "'" + text + "' is none of none, group, group:N, group:N,MS and strict";
      });
  command.add_flag("--checksums", options->checksums,
                   "Store a checksum with each datum, as 'dseries seal' does; so does any append to a series "
                   "that has checksums");
  AddCalibration(command, form);
  AddTextForm(command, form.text, raw);
  command
      .add_flag("--even", form.even,
                "Texts: accept uneven positions that lie within half a step of even ones")
      ->excludes(raw);
  CLI::Option* create = command.add_flag(
      "--new", options->create,
      "Make the series file first, for data of the kind of the first input: over the dimensions of --dim, or "
      "over one that counts the data");
  command.add_option("-d,--dim", options->dimensions, "--new: a dimension, as in 'dseries create'")
      ->type_name("NAME,UNITS,SIZE,OFFSET,DELTA[,reverse]")
      ->allow_extra_args(false)
      ->needs(create);
  command
      .add_option("--slots", options->slots,
                  "--new: the most data that the series can hold; default: 1000, or as many as are given")
      ->type_name("N")
      ->check(WholeNumber(1))
      ->needs(create)
      ->excludes("--dim");
  command.add_flag("--images", options->images, "--new: for 2D data, where the first input does not say so")
      ->needs(create);
  command.footer(
      "What a text looks like is found out and reported in a line: what separates its\n"
      "columns, its decimal mark, its header. Names and units in a header become the\n"
      "labels of a series without labels.\n\n"
      "Example: two spectra, then a raster of raw data with 12 numbers for each place\n"
      "  dseries append spectra.dseries first.dat second.dat --time 2024-02-29T12:00\n"
      "  dseries append sst.dseries sst.f32 --raw 12 --interleaved --tag-position\n"
      "Pictures, and the same raw data as 12 maps, into series of 2D data\n"
      "  dseries append cells.dseries cell.pgm --offset 0,0 --delta 0.1,0.1\n"
      "  dseries append months.dseries sst.f32 --raw 180,90 --offset 21,-89 --delta 2,2");
  command.callback([options] { Append(*options); });
}

}  // namespace dseries
