#pragma once

#include <DataStorage/arrays/parray2d.h>
#include <DataStorage/data/darray1d.h>

/// A calibrated two-dimensional data array; along each axis like darr_c1DArray. Element (i, j) is at
/// (`Cal().PositionX(i)`, `Cal().PositionY(j)`); the array covers the rectangle from (PositionX(0),
/// PositionY(0)) to (PositionX(NX), PositionY(NY)).
class DATASTORAGE_EXPORT darr_c2DArray : public detail::DataArray<parr_c2DNumberArray, cal_c2DArrayCal> {
 public:
  /// No elements.
  darr_c2DArray() : DataArray(parr_c2DNumberArray(), cal_c2DArrayCal::Default) {}
  /// nx * ny elements of `value`.
  darr_c2DArray(int nx, int ny, const pnum_cNumber& value, const cal_c2DArrayCal& cal)
      : DataArray(parr_c2DNumberArray(nx, ny, value), cal) {}
  /// nx * ny zeros.
  darr_c2DArray(int nx, int ny, dtyp_cDataType type, const cal_c2DArrayCal& cal)
      : DataArray(parr_c2DNumberArray(nx, ny, type), cal) {}
  darr_c2DArray(int nx, int ny, dtyp_eDataType type, const cal_c2DArrayCal& cal)
      : darr_c2DArray(nx, ny, dtyp_cDataType(type), cal) {}
  /// Shares the elements of a number array.
  darr_c2DArray(const parr_c2DNumberArray& numbers, const cal_c2DArrayCal& cal) : DataArray(numbers, cal) {}
  /// Shares the elements of a typed array.
  template <detail::ElementType T>
  darr_c2DArray(const arr_c2DNumberArray<T>& elements, const cal_c2DArrayCal& cal)
      : DataArray(parr_c2DNumberArray(elements), cal) {}
  darr_c2DArray(const darr_c2DArray&) = default;
  darr_c2DArray& operator=(const darr_c2DArray&) = default;
  /// Sets every element to `value`; the array takes its type and keeps the calibration.
  darr_c2DArray& operator=(const pnum_cNumber& value);

  /// The object type in tagged streams.
  const tgio_cObjectType& ObjectType() const override;
  /// The identifier of 2D data arrays in series files.
  static unsigned int DataTypeID();

  using parr_c2DNumberArray::SetValue;
  using parr_c2DNumberArray::Value;
  /// The element whose cell contains (x, y). Outside the range (also for not-a-number), and for an array
  /// without elements, a zero of the element type. Two floating-point arguments are a position, two integers
  /// are indices; one of each is ambiguous and does not compile.
  pnum_cNumber Value(double x, double y) const;
  pnum_cNumber Value(int x, double y) const = delete;
  pnum_cNumber Value(double x, int y) const = delete;
  /// Sets the element whose cell contains (x, y), at the indices that the calibration returns. If there is
  /// none, the array is extended by zeros as far as needed, but only along axes with a positive delta;
  /// otherwise, and for not-a-number, it throws arr_cIndexException. On failure the array does not change.
  void SetValue(const pnum_cNumber& value, double x, double y);
  void SetValue(const pnum_cNumber& value, int x, double y) = delete;
  void SetValue(const pnum_cNumber& value, double x, int y) = delete;

  /// The elements of an index range, which keep their positions; those outside the array take the fill value.
  /// rnge_c2DIndexRange::Null returns the whole array.
  darr_c2DArray Selection(const rnge_c2DIndexRange& range) const;
  darr_c2DArray Selection(int x0, int y0, int x1, int y1) const;
  /// The elements that a physical range selects, zeros outside the array. The array's own range and
  /// rnge_c2DRange::Null return the whole array. A rotated range throws expt_cProgramException.
  darr_c2DArray Selection(const rnge_c2DRange& range, rnge_eIndexSelect select) const;
  darr_c2DArray Selection(double x1, double y1, double x2, double y2, rnge_eIndexSelect select) const;

  /// The column at X index `i`, which runs along Y.
  darr_c1DArray LineAtX(int i) const;
  /// The row at Y index `j`, which runs along X.
  darr_c1DArray LineAtY(int j) const;

  /// Merges another array into this one, as in one dimension, but `source` is resampled on a grid through its
  /// own first position. The array is extended to cover it only along axes with a positive delta.
  void Set(const darr_c2DArray& source);

  /// A copy with all positions shifted by (dx, dy).
  darr_c2DArray Move(double dx, double dy) const;
  using DataArray::OffsetX;
  using DataArray::OffsetY;
  /// The distance from the other array's first position to this one's.
  double OffsetX(const darr_c2DArray& other) const;
  double OffsetY(const darr_c2DArray& other) const;

  static const tgio_cObjectType _ObjectType;  ///< obty_2DDataArrayType

 private:
  /// The elements of an index range, zeros outside the array; they keep their positions.
  darr_c2DArray FilledOut(const rnge_c2DIndexRange& indices, bool keepReference) const;
};
