#pragma once

/// @file
/// How intervals select cells.

#include <DataStorage/calibration/arraycal.h>

/// Which cells of a calibrated axis an interval selects. Index i has the cell from Position(i) up to
/// Position(i + 1).
enum rnge_eIndexSelect {
  rnge_IndexInner = 0,       ///< the cells that lie wholly inside
  rnge_IndexOuter = 1,       ///< every cell that the interval touches
  rnge_IndexNearest = 2,     ///< the cells whose centre lies inside
  rnge_IndexInnerStart = 3,  ///< like Inner at the start, like Outer at the end
};

namespace detail {

/// The indices [start, end); `end` may be less than `start` when nothing is selected.
struct IndexSpan {
  int start;  ///< the first index
  int end;    ///< one past the last index

  /// Between two indices in any order.
  static constexpr IndexSpan Between(int a, int b) noexcept { return {b < a ? b : a, b < a ? a : b}; }

  /// The number of indices, limited to the range of int; negative when the end is less than the start.
  constexpr int Count() const noexcept { return SubtractIndices(end, start); }
  constexpr bool bContains(int index) const noexcept { return start <= index && index < end; }
  bool operator==(const IndexSpan&) const = default;
};

/// The cells that the interval from `low` to `high` selects.
IndexSpan SelectIndices(double low, double high, const cal_cArrayCal& cal, rnge_eIndexSelect select) noexcept;

}  // namespace detail
