#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "file/series.h"

// Which data of a series are meant.

namespace dseries {

/// Throws Failure when slot i of a series does not exist or holds no datum.
void CheckFilled(const Series& series, int i);

/// Linear indices as they are written: one of them, -1 being the newest datum ("7", "-1"); a range with both
/// ends ("0-11"); or begin:end:step as in Python, each of which may be left out ("::4", "-3:").
class Slice {
 public:
  /// Throws Failure for other texts.
  explicit Slice(std::string_view text);

  /// Appends the indices. Throws Failure for slots without data, except beyond the end of begin:end:step.
  void AppendTo(std::vector<int>& data, const Series& series) const;

 private:
  enum class Kind { One, Range, Steps };

  Kind kind_ = Kind::One;
  std::optional<int> begin_, end_;
  int step_ = 1;
};

/// The times of tags, both ends included.
struct TimeSpan {
  std::int64_t from = std::numeric_limits<std::int64_t>::min();
  std::int64_t to = std::numeric_limits<std::int64_t>::max();

  bool bContains(std::int64_t time) const { return from <= time && time <= to; }
};

/// Whether a text is one that ParseTimes reads, rather than a single time.
bool bTimeSpan(const std::string& text);
/// Reads "FROM,TO", each as ParseTime does and one of which may be left out. Throws Failure for other texts.
TimeSpan ParseTimes(const std::string& text);

/// Some indices along a dimension, both ends included.
struct Part {
  int dimension, first, last;
};

/// Reads "NAME=POSITION", the index whose position is nearest, or "NAME=FROM,TO", those that lie between,
/// both ends included; one of them may be left out. Throws Failure when there is no such dimension, and when
/// no index lies there: a single position must be within half a step of one.
Part ParsePart(const dtsr_cDimensionArray& dimensions, const std::string& text);

/// Conditions on the place of a datum and the time in its tag.
struct Filter {
  std::optional<TimeSpan> times;
  std::vector<Part> parts;

  /// Throws Failure when the tag cannot be read.
  bool bPasses(const Series& series, int i) const;
};

/// The datum nearest to a place and, among several there, nearest to a time, if there is one; -1 without
/// data. The place is that in the tags or, if they have none, that along the dimensions, in steps of each; it
/// is empty if only the time counts. Throws Failure for a place with another number of coordinates.
int NearestDatum(const Series& series, const std::vector<int>& data, const std::vector<double>& place,
                 const std::optional<long>& time);

}  // namespace dseries
