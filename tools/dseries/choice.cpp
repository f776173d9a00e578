#include "choice.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <numeric>

#include "dimensions.h"
#include "failure.h"
#include "format.h"
#include "header.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

/// The position nearest to one at which nothing was found, for those who typed it rounded.
std::string Nearest(const Series& series, double x, double y) {
  double least = std::numeric_limits<double>::infinity();
  std::string nearest = "there are no data";
  dtsr_c2DPosition tag;
  for (int i = 0; i < series.NextWriteIndex(); ++i) {
    series.GetTag(i, tag);
    const double distance = std::hypot(tag.X() - x, tag.Y() - y);
    if (distance < least) {
      least = distance;
      nearest = fmt::format("the nearest is at {},{}", tag.X(), tag.Y());
    }
  }
  return nearest;
}

int FindByTag(const Series& series, const Choice& choice) {
  const char* file = series.FilePath().CString();
  const bool positions = !choice.at.empty(), times = !choice.time.empty();
  const unsigned int wanted = positions ? obty_2DPositionType : obty_DataTagType;
  const unsigned int present = series.TagTypeID();
  if (present != 0 && present != wanted) {
    MakeTag(present);  // complains of kinds that are unknown
    Fail("the data in {} are tagged with {}; find them by {}", file, TagTypeName(present),
         positions ? "--time" : "--at");
  }
  const long time = times ? ParseTime(choice.time) : 0;
  if (positions) {
    const double x = choice.at[0], y = choice.at[1];
    const int i = series.DataIndex(dtsr_c2DPosition(x, y, time), times);
    if (i < 0) {
      Fail("no datum of {} is tagged with {},{}{}; {}", file, x, y, times ? " at that time" : "",
           Nearest(series, x, y));
    }
    return i;
  }
  const int i = series.DataIndex(dtsr_cDataTag(time), true);
  if (i < 0) Fail("no datum of {} was taken at {}", file, TimeText(time));
  return i;
}

void CheckFilled(const Series& series, int i) {
  if (i >= series.Size()) Fail("there is no slot {}: the last one is {}", i, series.Size() - 1);
  if (i >= series.NextWriteIndex()) {
    Fail("slot {} is empty: {} of {} are filled", i, series.NextWriteIndex(), series.Size());
  }
}

}  // namespace

void AddTagChoice(CLI::App& command, Choice& choice) {
  command.add_option("--at", choice.at, "Where the datum was taken, exactly as its tag tells")
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
      ->check(CLI::NonNegativeNumber);
  command.add_option("-i,--index", choice.index, "The index of a datum along each dimension")
      ->type_name("I,J...")
      ->delimiter(',')
      ->allow_extra_args(false);
  command.add_option("-p,--position", choice.position, "The position of a datum along each dimension")
      ->type_name("X,Y...")
      ->delimiter(',')
      ->allow_extra_args(false);
  AddTagChoice(command, choice);
}

void CheckChoice(const Choice& choice) {
  const int ways = !choice.data.empty() + !choice.index.empty() + !choice.position.empty() + choice.bByTag();
  if (ways > 1)
    throw CLI::ValidationError("only one of DATUM, --index, --position and --at or --time can be given");
}

void CheckChoiceOfOne(const Choice& choice) {
  CheckChoice(choice);
  if (choice.bNone()) throw CLI::RequiredError("one of DATUM, --index, --position, --at and --time");
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
