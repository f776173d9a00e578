#pragma once

/// @file
/// Intervals along one axis, as the 1D positions and ranges use them once and the 2D ones twice.

#include <cmath>
#include <optional>

#include <DataStorage/calibration/arraycal.h>

namespace detail {

/// How far positions may lie outside an interval of this size and still count as inside.
constexpr double Tolerance(double size) noexcept { return size * 0.001 * cal_cArrayCal::RoundFactor; }

/// False when `a` or `b` is NaN.
inline bool bNear(double a, double b, double tolerance) noexcept { return std::abs(a - b) <= tolerance; }

/// An interval given by its ends, usually with `start <= end`.
struct Interval {
  double start;
  double end;

  /// Between two positions in any order.
  static constexpr Interval Between(double a, double b) noexcept { return {b < a ? b : a, b < a ? a : b}; }

  constexpr double Size() const noexcept { return end - start; }
  constexpr double Middle() const noexcept { return (start + end) * 0.5; }
  /// Exact comparison, without tolerance.
  bool operator==(const Interval&) const = default;
  /// With tolerance at both ends.
  constexpr bool bContains(double x) const noexcept {
    const double tolerance = Tolerance(Size());
    return x + tolerance >= start && x - tolerance <= end;
  }
  /// Comparison with the tolerance of this interval.
  bool bEquals(const Interval& other) const noexcept {
    const double tolerance = Tolerance(Size());
    return bNear(start, other.start, tolerance) && bNear(end, other.end, tolerance);
  }
};

/// The intersection, which may be a single position; none also when an end is NaN.
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

  /// Exact comparison, without tolerance.
  bool operator==(const CenteredInterval&) const = default;
  constexpr double Start() const noexcept { return center - 0.5 * width; }
  constexpr double End() const noexcept { return center + 0.5 * width; }
  constexpr Interval Ends() const noexcept { return {Start(), End()}; }
  /// With tolerance at both ends.
  constexpr bool bContains(double x) const noexcept {
    const double tolerance = Tolerance(width);
    return Start() <= x + tolerance && End() >= x - tolerance;
  }
  /// Comparison with the tolerance of this interval.
  bool bEquals(const CenteredInterval& other) const noexcept {
    const double tolerance = Tolerance(width);
    return bNear(center, other.center, tolerance) && bNear(width, other.width, tolerance);
  }
  /// The smallest interval that contains both; ends of `other` that are NaN are ignored. A position is an
  /// interval of width 0.
  CenteredInterval Hull(const CenteredInterval& other) const noexcept {
    const double low = Start(), high = End(), otherLow = other.Start(), otherHigh = other.End();
    return Between(otherLow < low ? otherLow : low, otherHigh > high ? otherHigh : high);
  }
};

/// A rectangle given by its sides in a frame of its own, and the angle in radians by which that frame is
/// rotated.
struct Rectangle {
  CenteredInterval x;
  CenteredInterval y;
  double angle;

  /// Exact comparison, without tolerance.
  bool operator==(const Rectangle&) const = default;
};

}  // namespace detail
