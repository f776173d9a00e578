#include "cli/choice.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <numeric>
#include <tuple>

#include "cli/usage.h"
#include "file/coordinates.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/kinds.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

/// The datum whose tag is nearest to a position and, among those there, nearest in time.
struct Nearest {
  int datum = -1;
  double distance = std::numeric_limits<double>::infinity();
  double delay = 0;
};

Nearest NearestTo(const Series& series, const Choice& choice, long time) {
  Nearest nearest;
  for (int i = 0; i < series.NextWriteIndex(); ++i) {
    const auto tag = series.Tag(i);
    const double delay =
        choice.time.empty() ? 0 : std::fabs(static_cast<double>(tag->Time()) - static_cast<double>(time));
    const auto* position = PositionOf(*tag);
    const double distance =
        position == nullptr ? 0 : std::hypot(position->X() - choice.at[0], position->Y() - choice.at[1]);
    if (std::tie(distance, delay) < std::tie(nearest.distance, nearest.delay)) nearest = {i, distance, delay};
  }
  return nearest;
}

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

int FindByTag(const Series& series, const Choice& choice) {
  const char* file = series.FilePath().CString();
  const bool positions = !choice.at.empty(), times = !choice.time.empty();
  const unsigned int wanted = positions ? obty_2DPositionType : obty_DataTagType;
  const unsigned int present = series.TagTypeID();
  if (present != 0 && present != wanted) {
    if (!bKnownTagType(present)) {
      Fail("the data in {} are tagged with {}; 'dseries list {}' shows their times", file,
           TagTypeName(present), ShellWord(file));
    }
    Fail("the data in {} are tagged with {}; find them by {}", file, TagTypeName(present),
         positions ? "--time" : "--at");
  }
  const long time = times ? ParseTime(choice.time) : 0;
  const int exact = positions ? series.DataIndex(dtsr_c2DPosition(choice.at[0], choice.at[1], time), times)
                              : series.DataIndex(dtsr_cDataTag(time), true);
  if (exact >= 0) return exact;

  const Nearest nearest = NearestTo(series, choice, time);
  if (nearest.datum < 0) Fail("no datum of {} has such a tag", file);
  if (positions && nearest.delay == 0) {
    const auto tag = series.Tag(nearest.datum);
    const auto* position = PositionOf(*tag);
    if (bPrintedAs(position->X(), choice.at[0]) && bPrintedAs(position->Y(), choice.at[1]))
      return nearest.datum;
  }
  Fail("no datum of {} is tagged with {}; this finds the nearest: {}", file,
       !positions ? TimeText(time)
                  : fmt::format("{},{}{}", choice.at[0], choice.at[1], times ? " at " + TimeText(time) : ""),
       FindCommand(series, nearest.datum, choice));
}

void CheckFilled(const Series& series, int i) {
  if (i >= series.Size()) Fail("there is no slot {}: the last one is {}", i, series.Size() - 1);
  if (i >= series.NextWriteIndex()) {
    Fail("slot {} is empty: {} of {} are filled", i, series.NextWriteIndex(), series.Size());
  }
}

}  // namespace

void AddTagChoice(CLI::App& command, Choice& choice) {
  command.add_option("--at", choice.at, "Where the datum was taken, as 'list' prints it")
      ->type_name("X,Y")
      ->delimiter(',')
      ->expected(2);
  command.add_option("--time", choice.time, "When it was taken: ISO 8601 or seconds since 1970")
      ->type_name("TIME");
}

void AddChoice(CLI::App& command, Choice& choice, Many many) {
  command
      .add_option("DATUM", choice.data,
                  many == Many::Yes ? "Linear indices of data: 0 is the one stored first; default: all data"
                                    : "Linear index of the datum: 0 is the one stored first")
      ->expected(0, many == Many::Yes ? CLI::detail::expected_max_vector_size : 1)
      ->check(WholeNumber(0));
  command.add_option("-i,--index", choice.index, "The index of a datum along each dimension")
      ->type_name("I,J...")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(WholeNumber(0));
  command.add_option("-p,--position", choice.position, "The position of a datum along each dimension")
      ->type_name("X,Y...")
      ->delimiter(',')
      ->allow_extra_args(false);
  AddTagChoice(command, choice);
  command.parse_complete_callback([&choice, many] {
    const int ways =
        !choice.data.empty() + !choice.index.empty() + !choice.position.empty() + choice.bByTag();
    if (ways > 1)
      throw CLI::ValidationError("only one of DATUM, --index, --position and --at or --time can be given");
    if (ways == 0 && many == Many::No)
      throw CLI::RequiredError("one of DATUM, --index, --position, --at and --time");
  });
}

std::vector<int> Chosen(const Series& series, const Choice& choice) {
  std::vector<int> data = choice.data;
  if (choice.bNone()) {
    data.resize(static_cast<std::size_t>(series.NextWriteIndex()));
    std::iota(data.begin(), data.end(), 0);
  }
  if (!choice.index.empty()) data = {LinearIndex(series.DimensionArray(), choice.index)};
  if (!choice.position.empty()) data = {LinearIndex(series.DimensionArray(), choice.position)};
  if (choice.bByTag()) data = {FindByTag(series, choice)};
  for (const int i : data) CheckFilled(series, i);
  return data;
}

}  // namespace dseries
