#pragma once

#include <algorithm>
#include <cmath>

#include <DataStorage/data/darray2d.h>

// How elements of one array map to the axes of another, for resampling and merging. Both treat an axis with a
// negative delta as the mirror image of one with a positive delta.

namespace detail {

/// Whether two steps are finite, not 0, and of the same sign.
inline bool bSameDirection(double a, double b) noexcept {
  return std::isfinite(a) && std::isfinite(b) && ((a > 0 && b > 0) || (a < 0 && b < 0));
}

inline str_cString DirectionsText(double a, double b) {
  return "steps of " + str_cString(a, 0, 0) + " and " + str_cString(b, 0, 0) +
         " do not lead in the same direction";
}

/// Throws arr_cIndexException for steps of different directions, which cannot be merged.
inline void CheckAxes(double a, double b) {
  if (!bSameDirection(a, b)) ThrowIndexError(DirectionsText(a, b));
}

/// The cells that the positions `from` to `to`, given in the direction of the axis, select.
inline IndexSpan SelectCells(double from, double to, const cal_cArrayCal& cal, rnge_eIndexSelect select) {
  if (!(cal.Delta() < 0)) return SelectIndices(from, to, cal, select);
  return SelectIndices(-from, -to, {-cal.Offset(), -cal.Delta(), cal.CalIndex()}, select);
}

/// Where merged elements go along an axis: to the indices from `first` on, in an array with the indices
/// `needed`.
struct Place {
  int first;
  IndexSpan needed;
};

/// The place of `count` elements at the positions `from` to `to` along the axis of an array of `size`
/// elements. An axis with a negative delta is not extended: elements outside it throw arr_cIndexException.
inline Place PlaceOf(double from, double to, int count, const cal_cArrayCal& cal, int size) {
  const int first = SelectCells(from, to, cal, rnge_IndexNearest).start;
  if (cal.Delta() < 0) {
    CheckBlock(first, count, size);
    return {first, {0, size}};
  }
  const IndexSpan touched = SelectCells(from, to, cal, rnge_IndexOuter);
  return {first,
          {std::min({0, first, touched.start}), std::max({size, AddIndices(first, count), touched.end})}};
}

/// Replaces the nearest elements of `target` by those of `merged`, and extends it to cover them. Requires
/// positive deltas.
template <class IndexRange, class Array>
void Merge(const Array& merged, Array& target) {
  const auto range = merged.Range();
  const auto store = [&](Array& array) {
    array.SetData(merged, IndexRange::Null, IndexRange(range, array.Cal(), rnge_IndexNearest));
  };
  if (target.Range().Contains(range)) return store(target);
  Array grown = target.Selection(target.Range() | range, rnge_IndexOuter);
  store(grown);
  target = grown;
}

}  // namespace detail
