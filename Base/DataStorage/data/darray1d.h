#pragma once

#include <DataStorage/arrays/parray1d.h>
#include <DataStorage/data/dataarray.h>

/// @file
/// One-dimensional data arrays.

/// What lies between two elements. Every value but the first means linear.
enum darr_eInterpolation : int {
  darr_NoInterpolation = 0,      ///< the element in whose cell the position lies
  darr_LinearInterpolation = 1,  ///< the straight line between the elements
};

/// A calibrated one-dimensional data array: numbers whose indices have physical positions. Element i lies at
/// `Cal().PositionX(i)` and its cell reaches to the position of the next one, so N elements cover the range
/// from PositionX(0) to PositionX(N). Copies are cheap: they share the elements until one is written.
///
/// Along a falling axis (negative delta) elements can be set at positions, but not read: its range contains
/// no position, so that `Value` gives zeros, and a physical range selects one cell at most and raises
/// arr_SizeError where it spans more. `Cal().IndexX` gives the index to read at.
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
  /// Every element becomes `value` and the array takes its type; the calibration stays.
  darr_c1DArray& operator=(const pnum_cNumber& value);

  /// What streams call it.
  const tgio_cObjectType& ObjectType() const override;
  /// The identifier of 1D data arrays in series files.
  static unsigned int DataTypeID();

  using parr_c1DNumberArray::SetValue;
  using parr_c1DNumberArray::Value;
  /// The value at a physical position: that of the element in whose cell it lies. Linear interpolation gives
  /// a double between that element and the next,
  ///
  ///     y = y0 + (y1 - y0) (x - x0) / (x1 - x0)
  ///
  /// but the element itself in the last cell, and where x is less than 1e-6 away from x0, in the units of the
  /// axis. Outside the range (not-a-number included), and in an array without
  /// elements, the value is a zero of the element type.
  pnum_cNumber Value(double position, darr_eInterpolation interpolation = darr_NoInterpolation) const;
  /// Sets the element in whose cell `position` lies, at the index that the calibration gives. Where there is
  /// none the array grows as far as needed, by zeros, if its delta is positive; otherwise, and for a position
  /// that is not a number, arr_IndexError is raised. An error leaves the array as it was.
  void SetValue(const pnum_cNumber& value, double position);

  /// The elements of an index range, with the positions they had; those outside the array take its fill
  /// value. rnge_c1DIndexRange::Null gives the whole array.
  darr_c1DArray Selection(const rnge_c1DIndexRange& range) const;
  darr_c1DArray Selection(int start, int end) const;
  /// The elements that a physical range selects, zeros where it leaves the array. The array's own range and
  /// rnge_c1DRange::Null give the whole array.
  darr_c1DArray Selection(const rnge_c1DRange& range, rnge_eIndexSelect select) const;
  darr_c1DArray Selection(double from, double to, rnge_eIndexSelect select) const;

  /// Merges another array into this one: `source` is resampled to this array's delta if it has another one
  /// (resc_Rescale, on a grid through this array's first position), and its elements replace the nearest ones
  /// here. The array grows to cover the source if its delta is positive; a falling one raises arr_IndexError
  /// where the source leaves it. So do deltas of opposite signs, for cells that reach to different sides of
  /// their elements do not match, and deltas that are 0 or not finite. An error leaves the elements as they
  /// were.
  void Set(const darr_c1DArray& source);

  /// A copy whose positions lie `distance` further on.
  darr_c1DArray Move(double distance) const;
  using DataArray::OffsetX;
  /// The distance from the other array's first position to this one's.
  double OffsetX(const darr_c1DArray& other) const;

  static const tgio_cObjectType _ObjectType;  ///< obty_1DDataArrayType

 private:
  /// The elements of an index range, zeros where it leaves the array, with the positions they had.
  darr_c1DArray FilledOut(const rnge_c1DIndexRange& indices, bool keepReference) const;
};
