#pragma once

#include <DataStorage/data/calibrated.h>
#include <DataStorage/interfaces/arr.h>

/// A calibrated mask: truth values whose indices have physical positions, on the same grids as data arrays.
/// In selections, positions outside the mask take the fill value, the value last assigned to all elements.
/// Copies are cheap: they share the elements until one is modified. Distinct objects may be used from
/// different threads; one object, or copies that share elements, from one thread at a time.
class DATASTORAGE_EXPORT barr_c1DBoolArray
    : public detail::Calibrated<arr_c1DNumberArray<type_cBoolean>, cal_c1DArrayCal> {
 public:
  /// `count` elements that are false. A negative count throws arr_cSizeException.
  explicit barr_c1DBoolArray(int count = 2) : barr_c1DBoolArray(count, false, cal_c1DArrayCal::Default) {}
  /// All elements and the fill value are `value`.
  barr_c1DBoolArray(int count, type_cBoolean value, const cal_c1DArrayCal& cal)
      : Calibrated(arr_c1DNumberArray<type_cBoolean>(count, nullptr, value, true), cal) {}
  /// Shares the elements of a typed array.
  barr_c1DBoolArray(const arr_c1DNumberArray<type_cBoolean>& elements, const cal_c1DArrayCal& cal)
      : Calibrated(elements, cal) {}
  barr_c1DBoolArray(const barr_c1DBoolArray&) = default;
  barr_c1DBoolArray& operator=(const barr_c1DBoolArray&) = default;
  /// Sets every element and the fill value to `value`; the calibration does not change.
  barr_c1DBoolArray& operator=(type_cBoolean value);
  ~barr_c1DBoolArray() override;

  /// The first element, valid until the mask is modified. An empty mask throws arr_cIndexException.
  const type_cBoolean* Data() const;

  /// The elements of an index range, which keep their positions. rnge_c1DIndexRange::Null returns the whole
  /// mask, any other empty range throws arr_cIndexException.
  barr_c1DBoolArray Selection(const rnge_c1DIndexRange& range) const;
  barr_c1DBoolArray Selection(int start, int end) const;
  /// Copies the elements of `source` to the indices from `offset` on, whatever the calibrations. A block that
  /// does not fit throws arr_cIndexException.
  void SetSelection(const barr_c1DBoolArray& source, int offset);
  /// Whether both cover the same range, within its tolerance, with exactly the same delta.
  type_cBoolean IsRangeAndDelta(const barr_c1DBoolArray& other) const;
};

/// A calibrated mask in two dimensions, otherwise like barr_c1DBoolArray; element (i, j) has index i along X
/// and j along Y.
class DATASTORAGE_EXPORT barr_c2DBoolArray
    : public detail::Calibrated<arr_c2DNumberArray<type_cBoolean>, cal_c2DArrayCal> {
 public:
  /// nx * ny elements that are false. A negative extent throws arr_cSizeException.
  explicit barr_c2DBoolArray(int nx = 2, int ny = 2)
      : barr_c2DBoolArray(nx, ny, false, cal_c2DArrayCal::Default) {}
  /// All elements and the fill value are `value`.
  barr_c2DBoolArray(int nx, int ny, type_cBoolean value, const cal_c2DArrayCal& cal)
      : Calibrated(arr_c2DNumberArray<type_cBoolean>(nx, ny, nullptr, value, true), cal) {}
  /// Shares the elements of a typed array.
  barr_c2DBoolArray(const arr_c2DNumberArray<type_cBoolean>& elements, const cal_c2DArrayCal& cal)
      : Calibrated(elements, cal) {}
  barr_c2DBoolArray(const barr_c2DBoolArray&) = default;
  barr_c2DBoolArray& operator=(const barr_c2DBoolArray&) = default;
  /// Sets every element and the fill value to `value`; the calibration does not change.
  barr_c2DBoolArray& operator=(type_cBoolean value);
  ~barr_c2DBoolArray() override;

  /// Element (0, 0), valid until the mask is modified. An empty mask throws arr_cIndexException.
  const type_cBoolean* Data() const;

  /// The elements of an index range, which keep their positions. rnge_c2DIndexRange::Null returns the whole
  /// mask, any other range that is empty along an axis throws arr_cIndexException.
  barr_c2DBoolArray Selection(const rnge_c2DIndexRange& range) const;
  barr_c2DBoolArray Selection(int x0, int y0, int x1, int y1) const;
  /// Copies the elements of `source`, its element (0, 0) to (x, y), whatever the calibrations. A block that
  /// does not fit throws arr_cIndexException.
  void SetSelection(const barr_c2DBoolArray& source, int x, int y);
  /// Whether both cover the same range, within its tolerance, with exactly the same deltas.
  type_cBoolean IsRangeAndDelta(const barr_c2DBoolArray& other) const;
};
