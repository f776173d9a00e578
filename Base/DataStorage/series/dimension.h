#pragma once

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

/// One dimension of a series: its number of indices, their calibration, a description and units. The
/// calibration always has the natural orientation of the axis; only the reverse order indicates that data are
/// acquired from the highest index down.
class DATASTORAGE_EXPORT dtsr_cDimension {
 public:
  dtsr_cDimension() = default;
  /// `units` are those of the positions along the axis. The arguments are not checked.
  dtsr_cDimension(int size, const cal_c1DArrayCal& calibration, const str_cString& description,
                  const str_cString& units, type_cBoolean reverseOrder);
  dtsr_cDimension(const dtsr_cDimension&) = default;
  dtsr_cDimension& operator=(const dtsr_cDimension&) = default;
  virtual ~dtsr_cDimension();

  /// The arguments of the constructor; the size is the number of indices.
  int Size() const noexcept { return size_; }
  const cal_c1DArrayCal& Calibration() const noexcept { return calibration_; }
  const str_cString& Description() const noexcept { return description_; }
  const str_cString& Units() const noexcept { return units_; }
  type_cBoolean bReverseOrder() { return reverseOrder_; }

  /// Reads the raw form. Throws expt_cUserException "Can't read dimension." when bytes are missing, also of a
  /// text; the numbers, and texts that are complete, may be set then.
  void Read(bstr_cBinary_istream& in);
  /// Writes the raw form: size, calibration, description, units. In reverse order the delta is written
  /// negated, by which readers recognise the order, and the reference index as size - index (modulo 2^32).
  /// Throws expt_cUserException "Can't write dimension." when that fails.
  void Write(bstr_cBinary_ostream& out) const;

 private:
  int size_ = 0;
  cal_c1DArrayCal calibration_ = cal_c1DArrayCal::Default;
  str_cString description_;
  str_cString units_;
  type_cBoolean reverseOrder_ = false;
};

/// The dimensions of a series. Dimension 0 varies fastest in the linear index, which is the order in which
/// data are acquired and stored; a dimension in reverse order is traversed from its highest index down. Index
/// and position vectors have one entry for each dimension, in the natural order of its axis.
///
/// Vectors that are too short throw arr_cIndexException. Sizes whose product does not fit an `int` throw
/// arr_cSizeException where that product is needed.
class DATASTORAGE_EXPORT dtsr_cDimensionArray {
 public:
  /// `count` dimensions of size 0; a negative count throws arr_cIndexException.
  dtsr_cDimensionArray(int count = 1);
  dtsr_cDimensionArray(const dtsr_cDimensionArray&) = default;
  dtsr_cDimensionArray& operator=(const dtsr_cDimensionArray&) = default;
  dtsr_cDimensionArray& operator=(dtsr_cDimensionArray&&) noexcept = default;
  virtual ~dtsr_cDimensionArray();

  /// How many dimensions there are.
  int NumberDimensions() const noexcept { return dimensions_.Size(); }
  /// Dimension i, for reading or assignment; throws arr_cIndexException when there is none.
  dtsr_cDimension& Dimension(int i) const { return dimensions_[i]; }
  /// The product of all sizes, 1 when there are no dimensions.
  int TotalNumberIndices() const;

  /// The linear index of an index vector or a position vector. The indices are not checked: outside the
  /// dimensions the result may be the index of another datum, or the nearest `int` when it does not fit one.
  int Index(const arr_cC_Array<int>& indices) const;
  int Index(const arr_cC_Array<double>& positions) const { return Index(IndexPosition(positions)); }
  /// The index vector of a linear index. For a linear index that is not below the total, the last entry is
  /// out of range. A dimension whose size is not positive throws arr_cIndexException.
  arr_cC_Array<int> IndexPosition(int linearIndex) const;
  /// The indices that the calibrations return for the positions.
  arr_cC_Array<int> IndexPosition(const arr_cC_Array<double>& positions) const;
  /// The positions that the calibrations return for the indices.
  arr_cC_Array<double> Position(const arr_cC_Array<int>& indices) const;
  arr_cC_Array<double> Position(int linearIndex) const { return Position(IndexPosition(linearIndex)); }

  /// Reads the raw form. When the count is missing nothing changes and nothing is thrown, but the stream is
  /// not good. A negative count throws arr_cSizeException; a count that is too large for the rest of the
  /// stream, and failures within a dimension, throw as dtsr_cDimension::Read does.
  void Read(bstr_cBinary_istream& in);
  /// Writes the raw form: the count, then each dimension.
  void Write(bstr_cBinary_ostream& out) const;

 private:
  mutable arr_cArray<dtsr_cDimension> dimensions_;  // Dimension() of a const array allows changes
};
