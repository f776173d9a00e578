#include "cli/choice.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>

#include "cli/usage.h"
#include "file/choosing.h"
#include "file/coordinates.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/kinds.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

/// Whether a stored number agrees with a typed one to 10 significant digits.
bool bPrintedAs(double stored, double typed) {
  constexpr int digits = 10;
  if (stored == typed || typed == 0) return stored == typed;
  return std::fabs(stored - typed) <=
         0.51 * std::pow(10, std::floor(std::log10(std::fabs(typed))) + 1 - digits);
}

/// The command that finds a datum by its tag.
std::string FindCommand(const Series& series, int i, const Choice& choice) {
  const auto tag = series.Tag(i);
  std::string command = "dseries find " + ShellWord(series.FilePath().CString());
  if (const auto* position = PositionOf(*tag))
    command += fmt::format(" --at {},{}", TagText(position->X()), TagText(position->Y()));
  if (!choice.time.empty()) command += " --time " + TimeText(tag->Time());
  return command;
}

/// Throws Failure unless the tags hold what is searched.
void CheckTags(const Series& series, bool positions) {
  const char* file = series.FilePath().CString();
  const unsigned int wanted = positions ? obty_2DPositionType : obty_DataTagType;
  const unsigned int present = series.TagTypeID();
  if (present == 0 || present == wanted) return;
  if (!bKnownTagType(present)) {
    Fail("the data in {} are tagged with {}; 'dseries list {}' shows their times", file, TagTypeName(present),
         ShellWord(file));
  }
  Fail("the data in {} are tagged with {}; find them by {}", file, TagTypeName(present),
       positions ? "--time" : "--at");
}

/// All data, or the first one, with exactly this tag.
std::vector<int> WithTag(const Series& series, const Choice& choice, long time) {
  const bool times = !choice.time.empty();
  std::unique_ptr<dtsr_cDataTag> tag;
  if (choice.at.empty()) {
    tag = std::make_unique<dtsr_cDataTag>(time);
  } else {
    tag = std::make_unique<dtsr_c2DPosition>(choice.at[0], choice.at[1], time);
  }
  std::vector<int> found;
  for (int i = series.DataIndex(*tag, times); i >= 0 && i < series.NextWriteIndex(); ++i) {
    if (found.empty() || series.Tag(i)->IsEqual(*tag, times)) found.push_back(i);
    if (!choice.all) break;
  }
  return found;
}

std::vector<int> FindByTag(const Series& series, const Choice& choice, const std::vector<int>& all) {
  const char* file = series.FilePath().CString();
  const bool positions = !choice.at.empty(), times = !choice.time.empty();
  if (positions || !choice.nearest) CheckTags(series, positions);
  const long time = times ? ParseTime(choice.time) : 0;
  if (std::vector<int> exact = WithTag(series, choice, time); !exact.empty()) return exact;

  const int nearest = NearestDatum(series, all, choice.at, times ? std::optional(time) : std::nullopt);
  if (nearest < 0) Fail("no datum of {} has such a tag", file);
  if (choice.nearest) return {nearest};
  const auto tag = series.Tag(nearest);
  if (const auto* position = PositionOf(*tag); position != nullptr && (!times || tag->Time() == time)) {
    if (bPrintedAs(position->X(), choice.at[0]) && bPrintedAs(position->Y(), choice.at[1])) return {nearest};
  }
  Fail("no datum of {} is tagged with {}; this finds the nearest: {}", file,
       !positions ? TimeText(time)
                  : fmt::format("{},{}{}", choice.at[0], choice.at[1], times ? " at " + TimeText(time) : ""),
       FindCommand(series, nearest, choice));
}

/// Those of the data that meet the conditions.
std::vector<int> Filtered(const Series& series, std::vector<int> data, const Choice& choice) {
  Filter filter;
  if (!choice.time.empty()) filter.times = ParseTimes(choice.time);
  for (const std::string& text : choice.where) {
    filter.parts.push_back(ParsePart(series.DimensionArray(), text));
  }
  data.erase(std::remove_if(data.begin(), data.end(), [&](int i) { return !filter.bPasses(series, i); }),
             data.end());
  return data;
}

CLI::Validator Indices() {
  return {[](std::string& text) -> std::string {
            try {
              static_cast<void>(Slice(text));
              return "";
            } catch (const Failure& failure) {
              return failure.what();
            }
          },
          ""};
}

/// Adds all but the linear indices.
void AddWays(CLI::App& command, Choice& choice, bool required) {
  command.add_option("-i,--index", choice.index, "The index of a datum along each dimension")
      ->type_name("I,J...")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(WholeNumber(0));
  command.add_option("-p,--position", choice.position, "The position of a datum along each dimension")
      ->type_name("X,Y...")
      ->delimiter(',')
      ->allow_extra_args(false);
  AddSearch(command, choice, required);
}

}  // namespace

void AddSearch(CLI::App& command, Choice& choice, bool required) {
  command.add_option("--at", choice.at, "Where the datum was taken, as 'list' prints it")
      ->type_name("X,Y")
      ->delimiter(',')
      ->expected(2);
  command
      .add_option(
          "--time", choice.time,
          "When it was taken: ISO 8601 or seconds since 1970. FROM,TO: all data taken then, both ends "
          "included; either can be left out")
      ->type_name("TIME");
  command
      .add_option("--where", choice.where,
                  "Data at the nearest place along a dimension, or at NAME=FROM,TO; may be repeated")
      ->type_name("NAME=POSITION")
      ->allow_extra_args(false);
  command
      .add_option("--near", choice.near,
                  "The datum nearest to a place: that in its tag or, without, along the dimensions")
      ->type_name("X,Y...")
      ->delimiter(',')
      ->allow_extra_args(false);
  command.parse_complete_callback([&choice, required] {
    const bool span = bTimeSpan(choice.time), exact = !choice.at.empty() || (!choice.time.empty() && !span);
    const int ways = !choice.data.empty() + !choice.index.empty() + !choice.position.empty() + exact +
                     !choice.near.empty();
    if (ways > 1) {
      throw CLI::ValidationError(
          "only one of DATUM, --index, --position, --at or --time TIME, and --near can be given");
    }
    const bool filtered = span || !choice.where.empty();
    if (filtered && (exact || !choice.index.empty() || !choice.position.empty())) {
      throw CLI::ValidationError("--where and --time FROM,TO go with DATUM and --near only");
    }
    if (required && choice.bNone()) {
      throw CLI::RequiredError("one of DATUM, --index, --position, --at and --time");
    }
  });
}

void AddChoice(CLI::App& command, Choice& choice, Many many) {
  command
      .add_option("DATUM", choice.data,
                  many == Many::Yes
                      ? "Linear indices of data: 0 is the one stored first, -1 the newest; 0-11, "
                        "::4 and -3: are several; default: all data"
                      : "Linear index of the datum: 0 is the one stored first, -1 the newest")
      ->expected(0, many == Many::Yes ? CLI::detail::expected_max_vector_size : 1)
      ->delimiter(',')
      ->check(Indices());
  AddWays(command, choice, many == Many::No);
}

void AddChoiceByOptions(CLI::App& command, Choice& choice) {
  command
      .add_option("--data", choice.data,
                  "Only these data, by linear index: 0 is the one stored first, -1 the newest; 0-11, ::4 and "
                  "-3: are several")
      ->type_name("DATUM,...")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(Indices());
  AddWays(command, choice, false);
}

std::vector<int> Chosen(const Series& series, const Choice& choice) {
  std::vector<int> data;
  if (!choice.index.empty()) data = {LinearIndex(series.DimensionArray(), choice.index)};
  if (!choice.position.empty()) data = {LinearIndex(series.DimensionArray(), choice.position)};
  for (const int i : data) CheckFilled(series, i);
  for (const std::string& text : choice.data) Slice(text).AppendTo(data, series);
  if (data.empty() && choice.data.empty()) {
    data.resize(static_cast<std::size_t>(series.NextWriteIndex()));
    std::iota(data.begin(), data.end(), 0);
  }
  if (choice.bNone()) return data;
  const bool span = bTimeSpan(choice.time);
  if (!choice.at.empty() || (!choice.time.empty() && !span)) return FindByTag(series, choice, data);
  if (span || !choice.where.empty()) data = Filtered(series, std::move(data), choice);
  if (!choice.near.empty() && !data.empty()) data = {NearestDatum(series, data, choice.near, {})};
  if (data.empty()) Fail("no datum of {} is there", series.FilePath().CString());
  return data;
}

int ChosenOne(const Series& series, const Choice& choice) {
  const std::vector<int> data = Chosen(series, choice);
  if (data.size() == 1) return data.front();
  Fail("{} data of {} are there; choose one, such as {}", data.size(), series.FilePath().CString(),
       data.front());
}

}  // namespace dseries
