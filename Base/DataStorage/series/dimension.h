#pragma once

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

/// One axis over which the data of a series are laid out: how many indices it has, how they map to physical
/// positions, and what it is called. The calibration always has the natural orientation of the axis; that
/// data are acquired from the highest index down is told by the reverse order alone.
class DATASTORAGE_EXPORT dtsr_cDimension {
 public:
  dtsr_cDimension() = default;
  /// `units` are those of the positions along the axis. Nothing is checked here.
  dtsr_cDimension(int size, const cal_c1DArrayCal& calibration, const str_cString& description,
                  const str_cString& units, type_cBoolean reverseOrder);
  dtsr_cDimension(const dtsr_cDimension&) = default;
  dtsr_cDimension& operator=(const dtsr_cDimension&) = default;
  virtual ~dtsr_cDimension();

  /// What the dimension was made of, the size being the number of indices.
  int Size() const noexcept { return size_; }
  const cal_c1DArrayCal& Calibration() const noexcept { return calibration_; }
  const str_cString& Description() const noexcept { return description_; }
  const str_cString& Units() const noexcept { return units_; }
  type_cBoolean bReverseOrder() { return reverseOrder_; }

  /// Reads the raw form. Throws expt_cUserException "Can't read dimension." when bytes are missing or a text
  /// claims more of them than the stream still holds; the numbers may have been taken then, a text only when
  /// it was there whole.
  void Read(bstr_cBinary_istream& in);
  /// Writes the raw form: size, calibration, description, units. In reverse order the delta is negated and
  /// the reference index counted from the size (modulo 2^32), which is also how a reader tells the order.
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
/// data are acquired and stored; a dimension in reverse order is passed through from its highest index down.
/// Index and position vectors have one entry for each dimension, in the natural order of its axis.
///
/// Vectors that are too short raise arr_IndexError. Sizes whose product does not fit an `int` raise
/// arr_SizeError wherever that product is needed.
class DATASTORAGE_EXPORT dtsr_cDimensionArray {
 public:
  /// `count` dimensions of size 0; a negative count raises arr_IndexError.
  dtsr_cDimensionArray(int count = 1);
  dtsr_cDimensionArray(const dtsr_cDimensionArray&) = default;
  dtsr_cDimensionArray& operator=(const dtsr_cDimensionArray&) = default;
  dtsr_cDimensionArray& operator=(dtsr_cDimensionArray&&) noexcept = default;
  virtual ~dtsr_cDimensionArray();

  /// How many dimensions there are.
  int NumberDimensions() const noexcept { return dimensions_.Size(); }
  /// Dimension i, to be read or assigned; raises arr_IndexError when there is none.
  dtsr_cDimension& Dimension(int i) const { return dimensions_[i]; }
  /// The product of all sizes, 1 when there are no dimensions.
  int TotalNumberIndices() const;

  /// Linear index of an index vector. The indices are not checked: those outside the dimensions give an index
  /// that may belong to other data, and the nearest `int` where the result does not fit one.
  int Index(const arr_cC_Array<int>& indices) const;
  int Index(const arr_cC_Array<double>& positions) const { return Index(IndexPosition(positions)); }
  /// Index vector of a linear index. One that is not below the total shows in the last entry. A dimension
  /// whose size is not positive raises arr_IndexError.
  arr_cC_Array<int> IndexPosition(int linearIndex) const;
  /// The indices that the calibrations give for the positions.
  arr_cC_Array<int> IndexPosition(const arr_cC_Array<double>& positions) const;
  /// The positions that the calibrations give for the indices.
  arr_cC_Array<double> Position(const arr_cC_Array<int>& indices) const;
  arr_cC_Array<double> Position(int linearIndex) const { return Position(IndexPosition(linearIndex)); }

  /// Reads the raw form. When the count is missing nothing changes and nothing is thrown; the stream tells.
  /// A negative count raises arr_SizeError; more dimensions than the bytes left in the stream could hold, and
  /// failures within a dimension, throw as that does.
  void Read(bstr_cBinary_istream& in);
  /// Writes the raw form: the count, then each dimension.
  void Write(bstr_cBinary_ostream& out) const;

 private:
  mutable arr_cArray<dtsr_cDimension> dimensions_;  // callers fill a const array through Dimension()
};
