#pragma once

/// @file
/// How intervals select cells.

#include <cmath>
#include <optional>

#include <DataStorage/calibration/arraycal.h>

/// Which cells of a calibrated axis an interval selects. Index i has the cell from Position(i) up to
/// Position(i + 1).
enum rnge_eIndexSelect {
  rnge_IndexInner = 0,       ///< the cells that lie wholly inside
  rnge_IndexOuter = 1,       ///< every cell that the interval touches
  rnge_IndexNearest = 2,     ///< the cells whose centre lies inside
  rnge_IndexInnerStart = 3,  ///< at the start as Inner, at the end as Outer
};

/// What positions and ranges do along one axis, in plain numbers: the 1D classes do it once, the 2D ones
/// twice.
namespace detail {

/// Indices from `start` up to, not including, `end`; `end` may lie before `start`, when nothing is selected.
struct IndexSpan {
  int start;
  int end;
};

/// The cells that the interval from `low` to `high` selects.
IndexSpan SelectIndices(double low, double high, const cal_cArrayCal& cal, rnge_eIndexSelect select) noexcept;

/// By how much positions may lie outside of an interval of this size and still count as inside.
constexpr double Tolerance(double size) noexcept { return size * 0.001 * cal_cArrayCal::RoundFactor; }

/// False when one of the numbers is not a number.
inline bool bNear(double a, double b, double tolerance) noexcept { return std::abs(a - b) <= tolerance; }

/// Whether two coordinates are the same for the negotiation of a change: two that are not numbers count as
/// equal there, as it would not end otherwise.
inline bool bSameCoordinate(double a, double b) noexcept {
  return a == b || (std::isnan(a) && std::isnan(b));
}

/// An interval given by its ends, `start <= end`.
struct Interval {
  double start;
  double end;

  constexpr double Size() const noexcept { return end - start; }
  /// With tolerance at both ends.
  constexpr bool bContains(double x) const noexcept {
    const double tolerance = Tolerance(Size());
    return x + tolerance >= start && x - tolerance <= end;
  }
  /// With the tolerance of this interval.
  bool bEquals(const Interval& other) const noexcept {
    const double tolerance = Tolerance(Size());
    return bNear(start, other.start, tolerance) && bNear(end, other.end, tolerance);
  }
};

/// What both intervals hold, which may be a single position; nothing also where one of the ends is not a
/// number.
constexpr std::optional<Interval> Overlap(const Interval& a, const Interval& b) noexcept {
  const Interval both{b.start > a.start ? b.start : a.start, b.end < a.end ? b.end : a.end};
  const bool inA = both.start >= a.start && both.end <= a.end,
             inB = both.start >= b.start && both.end <= b.end;
  return inA && inB && both.start <= both.end ? std::optional(both) : std::nullopt;
}

/// An interval given by its centre and its width, as the sides of 2D ranges are.
struct CenteredInterval {
  double center;
  double width;

  /// Between two positions in any order.
  static constexpr CenteredInterval Between(double a, double b) noexcept {
    return {(a + b) * 0.5, b < a ? a - b : b - a};
  }

  constexpr double Start() const noexcept { return center - 0.5 * width; }
  constexpr double End() const noexcept { return center + 0.5 * width; }
  constexpr Interval Ends() const noexcept { return {Start(), End()}; }
  /// With tolerance at both ends.
  constexpr bool bContains(double x) const noexcept {
    const double tolerance = Tolerance(width);
    return Start() <= x + tolerance && End() >= x - tolerance;
  }
  /// With the tolerance of this interval.
  bool bEquals(const CenteredInterval& other) const noexcept {
    const double tolerance = Tolerance(width);
    return bNear(center, other.center, tolerance) && bNear(width, other.width, tolerance);
  }
  /// What holds both; an end that is not a number is passed over. A position is an interval of width 0.
  CenteredInterval Hull(const CenteredInterval& other) const noexcept {
    const double low = Start(), high = End(), otherLow = other.Start(), otherHigh = other.End();
    return Between(otherLow < low ? otherLow : low, otherHigh > high ? otherHigh : high);
  }
};

}  // namespace detail
