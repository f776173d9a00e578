#pragma once

/// @file
/// A datum of any kind.

#include <memory>
#include <type_traits>

#include <DataStorage/data/barray.h>
#include <DataStorage/data/darray2d.h>
#include <DataStorage/numbers/pnumber.h>

/// The kinds of datum that a dataset can hold.
enum data_eDatasetType {
  data_Boolean = 1,      ///< type_cBoolean
  data_1DBoolArray = 2,  ///< barr_c1DBoolArray
  data_2DBoolArray = 3,  ///< barr_c2DBoolArray
  data_Number = 4,       ///< pnum_cNumber
  data_1DArray = 5,      ///< darr_c1DArray
  data_2DArray = 6,      ///< darr_c2DArray
};

/// The letter of a dataset: the object that holds its datum.
class DATASTORAGE_EXPORT data_cLetter {
 public:
  virtual ~data_cLetter();
  /// The kind of the datum.
  virtual data_eDatasetType DatasetType() const = 0;
  /// A letter with a copy of the datum.
  virtual std::unique_ptr<data_cLetter> Clone() const = 0;
  /// The datum held; valid as long as the letter.
  virtual const void* ValuePointer() const = 0;
};

/// A value that holds one datum of any kind: a truth value, a number, a data array or a mask. It always holds
/// one; the kind changes only by assignment.
class DATASTORAGE_EXPORT data_cDataset {
 public:
  /// Holds a copy of `value`; the copy of an array shares the elements.
  data_cDataset(const type_cBoolean& value = false);
  data_cDataset(const barr_c1DBoolArray& value);
  data_cDataset(const barr_c2DBoolArray& value);
  data_cDataset(const pnum_cNumber& value);
  data_cDataset(const darr_c1DArray& value);
  data_cDataset(const darr_c2DArray& value);
  /// A truth value for `bool`, a number for every other arithmetic type.
  template <class T>
  requires std::is_arithmetic_v<T> data_cDataset(T value) : data_cDataset(Named(value)) {}
  /// Holds the same datum.
  data_cDataset(const data_cDataset& other);
  /// Copies the datum and its kind.
  data_cDataset& operator=(const data_cDataset& other);
  ~data_cDataset();

  /// The kind of the datum.
  data_eDatasetType DatasetType() const;

  /// A copy of the datum. A dataset of another kind throws expt_cUserException, which names both kinds.
  operator type_cBoolean() const;
  operator barr_c1DBoolArray() const;
  operator barr_c2DBoolArray() const;
  operator pnum_cNumber() const;
  operator darr_c1DArray() const;
  operator darr_c2DArray() const;

 private:
  static type_cBoolean Named(bool value) { return value; }
  static pnum_cNumber Named(auto value) { return pnum_cNumber(value); }
  template <class T>
  const T& Held() const;

  std::unique_ptr<data_cLetter> letter_;
};
