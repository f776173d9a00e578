#pragma once

#include <DataStorage/arrays/parray1d.h>
#include <DataStorage/data/dataarray.h>

/// @file
/// One-dimensional data arrays.

/// How `darr_c1DArray::Value` interpolates between elements. Values other than these mean linear.
enum darr_eInterpolation : int {
  darr_NoInterpolation = 0,      ///< the element whose cell contains the position
  darr_LinearInterpolation = 1,  ///< on the straight line between two elements
};

/// A calibrated one-dimensional data array: numbers whose indices have physical positions. Element i is at
/// `Cal().PositionX(i)` and its cell extends to the position of the next one, so N elements cover the range
/// from PositionX(0) to PositionX(N).
///
/// Along an axis with a negative delta, elements can be set at positions but not read: its range contains no
/// position, so `Value` returns zero, and a physical range selects at most one cell and throws
/// arr_cSizeException when it spans more. Elements can be read at the index that `Cal().IndexX` returns.
///
/// Copies are cheap: they share the elements until one is modified. Distinct objects may be used from
/// different threads; one object, or copies that share elements, from one thread at a time.
class DATASTORAGE_EXPORT darr_c1DArray : public detail::DataArray<parr_c1DNumberArray, cal_c1DArrayCal> {
 public:
  /// No elements.
  darr_c1DArray() : DataArray(parr_c1DNumberArray(), cal_c1DArrayCal::Default) {}
  /// `count` elements of `value`.
  darr_c1DArray(int count, const pnum_cNumber& value, const cal_c1DArrayCal& cal)
      : DataArray(parr_c1DNumberArray(count, value), cal) {}
  /// `count` zeros.
  darr_c1DArray(int count, dtyp_cDataType type, const cal_c1DArrayCal& cal)
      : DataArray(parr_c1DNumberArray(count, type), cal) {}
  darr_c1DArray(int count, dtyp_eDataType type, const cal_c1DArrayCal& cal)
      : darr_c1DArray(count, dtyp_cDataType(type), cal) {}
  /// Shares the elements of a number array.
  darr_c1DArray(const parr_c1DNumberArray& numbers, const cal_c1DArrayCal& cal) : DataArray(numbers, cal) {}
  /// Shares the elements of a typed array.
  template <detail::ElementType T>
  darr_c1DArray(const arr_c1DNumberArray<T>& elements, const cal_c1DArrayCal& cal)
      : DataArray(parr_c1DNumberArray(elements), cal) {}
  darr_c1DArray(const darr_c1DArray&) = default;
  darr_c1DArray& operator=(const darr_c1DArray&) = default;
  /// Sets every element to `value`; the array takes its type and keeps the calibration.
  darr_c1DArray& operator=(const pnum_cNumber& value);

  /// The object type in tagged streams.
  const tgio_cObjectType& ObjectType() const override;
  /// The identifier of 1D data arrays in series files.
  static unsigned int DataTypeID();

  using parr_c1DNumberArray::SetValue;
  using parr_c1DNumberArray::Value;
  /// The value at a physical position: the element whose cell contains it. Linear interpolation returns a
  /// double between that element and the next,
  ///
  ///     y = y0 + (y1 - y0) (x - x0) / (x1 - x0)
  ///
  /// but the element itself in the last cell, and where x is less than 1e-6, in units of the axis, from x0.
  /// Outside the range (also for not-a-number), and for an array without elements, the value is a zero of the
  /// element type.
  pnum_cNumber Value(double position, darr_eInterpolation interpolation = darr_NoInterpolation) const;
  /// Sets the element whose cell contains `position`, at index `Cal().IndexX(position)`. If there is none, an
  /// array with a positive delta is extended by zeros as far as needed; otherwise, and for not-a-number, it
  /// throws arr_cIndexException. On failure the array does not change.
  void SetValue(const pnum_cNumber& value, double position);

  /// The elements of an index range, which keep their positions; those outside the array take the fill value.
  /// rnge_c1DIndexRange::Null returns the whole array.
  darr_c1DArray Selection(const rnge_c1DIndexRange& range) const;
  darr_c1DArray Selection(int start, int end) const;
  /// The elements that a physical range selects, zeros outside the array. The array's own range and
  /// rnge_c1DRange::Null return the whole array.
  darr_c1DArray Selection(const rnge_c1DRange& range, rnge_eIndexSelect select) const;
  darr_c1DArray Selection(double from, double to, rnge_eIndexSelect select) const;

  /// Merges another array into this one: `source` is resampled to this array's delta if its own differs
  /// (resc_Rescale, on a grid through this array's first position), and its elements replace the nearest ones
  /// here. If the delta is positive the array is extended to cover the source; if it is negative a source
  /// that leaves the array throws arr_cIndexException. So do deltas of opposite signs, whose cells extend to
  /// different sides of their elements, and deltas that are 0 or not finite. On failure the elements do not
  /// change.
  void Set(const darr_c1DArray& source);

  /// A copy with all positions shifted by `distance`.
  darr_c1DArray Move(double distance) const;
  using DataArray::OffsetX;
  /// The distance from the other array's first position to this one's.
  double OffsetX(const darr_c1DArray& other) const;

  static const tgio_cObjectType _ObjectType;  ///< obty_1DDataArrayType

 private:
  /// The elements of an index range, zeros outside the array; they keep their positions.
  darr_c1DArray FilledOut(const rnge_c1DIndexRange& indices, bool keepReference) const;
};
