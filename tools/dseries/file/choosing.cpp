#include "file/choosing.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fmt/ranges.h>
#include <tuple>
#include <utility>

#include "file/coordinates.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

/// Reads a number that fills the text.
template <class T>
bool bParsed(std::string_view text, T& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

/// The parts of a text between separators.
std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

double ParsePosition(const std::string& text, const std::string& whole) {
  double position = 0;
  if (!bParsed<double>(text, position) || !std::isfinite(position)) {
    Fail("'{}' is not a position in '{}'", text, whole);
  }
  return position;
}

int DimensionNamed(const dtsr_cDimensionArray& dimensions, const std::string& name) {
  std::vector<std::string> names;
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    names.push_back(NameOf(dimensions, d));
    if (names.back() == name) return d;
  }
  Fail("there is no dimension '{}': there is {}", name, fmt::join(names, ", "));
}

}  // namespace

void CheckFilled(const Series& series, int i) {
  if (i >= series.Size()) Fail("there is no slot {}: the last one is {}", i, series.Size() - 1);
  if (i >= series.NextWriteIndex()) {
    Fail("slot {} is empty: {} of {} are filled", i, series.NextWriteIndex(), series.Size());
  }
}

Slice::Slice(std::string_view text) {
  const auto parse = [](const std::string& part, std::optional<int>& number) {
    return part.empty() || bParsed(part, number.emplace());
  };
  const std::vector<std::string> steps = Split(text, ':');
  const std::size_t dash = text.find('-', 1);
  bool valid = !text.empty();
  if (steps.size() > 1) {
    kind_ = Kind::Steps;
    std::optional<int> step;
    valid = steps.size() <= 3 && parse(steps[0], begin_) && parse(steps[1], end_) &&
            (steps.size() < 3 || parse(steps[2], step));
    step_ = step.value_or(1);
    valid = valid && step_ > 0;
  } else if (dash < text.size()) {
    kind_ = Kind::Range;
    valid = bParsed(text.substr(0, dash), begin_.emplace()) &&
            bParsed(text.substr(dash + 1), end_.emplace()) && 0 <= *begin_ && *begin_ <= *end_;
  } else {
    valid = bParsed(text, begin_.emplace());
  }
  if (!valid) {
    Fail("'{}' is not a linear index, such as 7 or -1 (the newest), nor several, such as 0-11 or ::4", text);
  }
}

void Slice::AppendTo(std::vector<int>& data, const Series& series) const {
  const int filled = series.NextWriteIndex();
  const auto from_end = [filled](int i) { return i < 0 ? i + filled : i; };
  int begin = from_end(begin_.value_or(0)), end = begin;
  if (kind_ == Kind::Steps) {
    begin = std::max(begin, 0);
    end = std::min(from_end(end_.value_or(filled)), filled) - 1;
  } else {
    if (begin < 0) Fail("there is no datum {}: {} of {} slots are filled", *begin_, filled, series.Size());
    if (kind_ == Kind::Range) end = *end_;
    CheckFilled(series, begin);
    CheckFilled(series, end);
  }
  for (std::int64_t i = begin; i <= end; i += step_) data.push_back(static_cast<int>(i));
}

bool bTimeSpan(const std::string& text) { return text.find(',') != text.npos; }

TimeSpan ParseTimes(const std::string& text) {
  const std::vector<std::string> ends = Split(text, ',');
  if (ends.size() != 2 || text == ",") Fail("'{}' is not a span of times; write it as FROM,TO", text);
  TimeSpan span;
  if (!ends[0].empty()) span.from = ParseTime(ends[0]);
  if (!ends[1].empty()) span.to = ParseTime(ends[1]);
  constexpr std::size_t date = 10;  // such as 2024-02-29, without a time: the whole day
  if (ends[1].size() == date && ends[1].find('-') == 4) span.to += 24 * 60 * 60 - 1;
  if (span.from > span.to) Fail("the times {} are in the wrong order", text);
  return span;
}

Part ParsePart(const dtsr_cDimensionArray& dimensions, const std::string& text) {
  const std::size_t equals = text.rfind('=');
  const std::vector<std::string> ends = Split(text.substr(std::min(equals, text.size() - 1) + 1), ',');
  if (equals == text.npos || ends.size() > 2 || (ends.front().empty() && ends.back().empty())) {
    Fail("'{}' is not a place along a dimension; write it as NAME=POSITION or NAME=FROM,TO", text);
  }
  const int d = DimensionNamed(dimensions, text.substr(0, equals));
  const dtsr_cDimension& dimension = dimensions.Dimension(d);
  const cal_cArrayCal& cal = dimension.Calibration().AxisX();
  const int highest = dimension.Size() - 1;
  // Positions as indices, with fractions.
  const auto index = [&](const std::string& end) {
    return (ParsePosition(end, text) - cal.Offset()) / cal.Delta() + cal.CalIndex();
  };
  const auto limited = [highest](double i) {  // also not-a-number
    return i > highest ? highest + 1 : i > -1 ? static_cast<int>(i) : -1;
  };
  constexpr double rounding = cal_cArrayCal::RoundFactor;
  Part part{d, 0, highest};
  if (ends.size() == 1) {
    const double at = index(ends[0]);
    part.first = part.last = std::clamp(limited(std::floor(at + 0.5)), 0, highest);
    if (!(std::fabs(at - part.first) <= 0.5 + rounding)) part.last = -1;
  } else {
    if (!ends[0].empty()) part.first = std::max(0, limited(std::ceil(index(ends[0]) - rounding)));
    if (!ends[1].empty()) part.last = std::min(highest, limited(std::floor(index(ends[1]) + rounding)));
  }
  if (part.first > part.last) {
    Fail("nothing of {} lies at {}: it goes from {} to {}", NameOf(dimensions, d), text.substr(equals + 1),
         PositionText(dimension, 0), WithUnits(PositionText(dimension, highest), dimension.Units()));
  }
  return part;
}

bool Filter::bPasses(const Series& series, int i) const {
  if (!parts.empty()) {
    const arr_cC_Array<int> index = series.DimensionArray().IndexPosition(i);
    for (const auto& [dimension, first, last] : parts) {
      if (index[dimension] < first || index[dimension] > last) return false;
    }
  }
  return !times || times->bContains(series.Tag(i)->Time());
}

int NearestDatum(const Series& series, const std::vector<int>& data, const std::vector<double>& place,
                 const std::optional<long>& time) {
  const bool tagged = series.TagTypeID() == obty_2DPositionType;
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const auto wanted = static_cast<std::size_t>(tagged ? 2 : dimensions.NumberDimensions());
  if (!place.empty() && place.size() != wanted) {
    Fail("a place has {} here, as {}", Count(static_cast<std::int64_t>(wanted), "coordinate", "coordinates"),
         tagged ? "the tags have" : "the series has dimensions");
  }
  for (const double coordinate : place) {
    if (!std::isfinite(coordinate)) Fail("a place needs finite coordinates");
  }
  const auto distance_to = [&](int i, const dtsr_cDataTag* tag) {
    if (place.empty()) return 0.0;
    if (tagged) {
      const auto* position = PositionOf(*tag);
      return std::hypot(position->X() - place[0], position->Y() - place[1]);
    }
    double sum = 0;
    const arr_cC_Array<double> position = dimensions.Position(i);
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      const double steps =
          (position[d] - place[static_cast<std::size_t>(d)]) / dimensions.Dimension(d).Calibration().DeltaX();
      sum += steps * steps;
    }
    return std::sqrt(sum);
  };
  int nearest = -1;
  std::pair<double, double> least;
  for (const int i : data) {
    const auto tag = tagged || time ? series.Tag(i) : nullptr;
    const double delay = time ? std::fabs(static_cast<double>(tag->Time()) - static_cast<double>(*time)) : 0;
    const std::pair far(distance_to(i, tag.get()), delay);
    if (nearest >= 0 && !(far < least)) continue;
    nearest = i;
    least = far;
  }
  return nearest;
}

}  // namespace dseries
