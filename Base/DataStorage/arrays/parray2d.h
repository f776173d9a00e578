#pragma once

#include <DataStorage/arrays/parray1d.h>
#include <DataStorage/positions/range2d.h>

template <class T>
class parr_c2DTypedNumberArray;

/// The letter of a 2D number array: one block of rows of elements of one type.
class DATASTORAGE_EXPORT parr_c2DArray {
 public:
  virtual ~parr_c2DArray();

  /// The type of the elements.
  virtual dtyp_cDataType DataType() const = 0;
  /// A letter that shares the elements.
  virtual std::unique_ptr<parr_c2DArray> Clone() const = 0;
  /// Element (0, 0); null when there are no elements.
  virtual const void* Data() const = 0;
  /// Every element becomes `value`, which has the letter's type.
  virtual void SetAll(const pnum_cNumber& value) = 0;
  /// The number of elements along that axis.
  virtual int NumIndicesX() const = 0;
  virtual int NumIndicesY() const = 0;
  /// Element (x, y).
  virtual pnum_cNumber Value(int x, int y) const = 0;
  /// Element (x, y) becomes `value`, which has the letter's type.
  virtual void SetValue(const pnum_cNumber& value, int x, int y) = 0;
  /// A letter of the elements of `range`; fill values where it leaves the array.
  virtual std::unique_ptr<parr_c2DArray> Selection(const rnge_c2DIndexRange& range) const = 0;
  /// Copies a block of the extents of `target_range` from a letter of the same type.
  virtual void SetData(const parr_c2DArray& source, const rnge_c2DIndexRange& source_range,
                       const rnge_c2DIndexRange& target_range) = 0;
  /// One column; raises arr_IndexError where there is none.
  virtual parr_c1DNumberArray Column(int x) const = 0;
  /// The same of a row.
  virtual parr_c1DNumberArray Row(int y) const = 0;
  /// Reads what follows the element type in the raw form; false, and the letter as it was, when that fails.
  virtual type_cBoolean ReadRaw(bstr_cBinary_istream& in) = 0;
  /// Writes the elements as one atom; false when the stream failed.
  virtual type_cBoolean WriteData(tgio_cASCII_ostream& out, const str_cString& name) const = 0;
  virtual type_cBoolean WriteData(tgio_cBinary_ostream& out, unsigned short tag) const = 0;
  /// Writes the raw form; false when the stream failed.
  virtual type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const = 0;

  /// The number of elements.
  int NumIndices() const { return NumIndicesX() * NumIndicesY(); }

  /// For the number arrays. They ask a letter where errors are reported, which classes belong to it, and for
  /// one of the same extents whose elements are not set.
  static constexpr detail::SourceFile source_file{"parray2d"};
  template <class T>
  using Typed = parr_c2DTypedNumberArray<T>;
  template <class T>
  using Container = arr_c2DNumberArray<T>;
  template <class T>
  std::unique_ptr<parr_c2DTypedNumberArray<T>> UnfilledLike() const {
    return std::make_unique<parr_c2DTypedNumberArray<T>>(
        arr_c2DNumberArray<T>(arr_Unfilled, NumIndicesX(), NumIndicesY()));
  }

  /// The element type word of a raw form, in front of which the header of an image may stand.
  static unsigned short ReadRawType(bstr_cBinary_istream& in);
};

/// The letter of a 2D number array whose elements are of type `T`.
template <class T>
class DATASTORAGE_EXPORT parr_c2DTypedNumberArray final
    : public detail::TypedLetter<parr_c2DArray, arr_c2DNumberArray<T>, T> {
 public:
  using detail::TypedLetter<parr_c2DArray, arr_c2DNumberArray<T>, T>::TypedLetter;

  /// As the base tells.
  std::unique_ptr<parr_c2DArray> Clone() const override;
  int NumIndicesX() const override { return this->elements_.NumIndicesX(); }
  int NumIndicesY() const override { return this->elements_.NumIndicesY(); }
  pnum_cNumber Value(int x, int y) const override;
  void SetValue(const pnum_cNumber& value, int x, int y) override;
  std::unique_ptr<parr_c2DArray> Selection(const rnge_c2DIndexRange& range) const override;
  void SetData(const parr_c2DArray& source, const rnge_c2DIndexRange& source_range,
               const rnge_c2DIndexRange& target_range) override;
  parr_c1DNumberArray Column(int x) const override;
  parr_c1DNumberArray Row(int y) const override;
  type_cBoolean ReadRaw(bstr_cBinary_istream& in) override;
  type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const override;
};

/// A two-dimensional array of numbers whose element type is chosen at run time; otherwise like
/// parr_c1DNumberArray. Element (x, y) stands at position y * nx + x, x running fastest.
class DATASTORAGE_EXPORT parr_c2DNumberArray : public detail::NumberArray<parr_c2DArray> {
 public:
  /// 0 x 0 elements of type dtyp_UBin8.
  parr_c2DNumberArray();
  /// nx * ny elements with the values at `data`, row after row, or zeros when there are none. A negative
  /// extent raises arr_SizeError, a type that is none throws expt_cProgramException.
  parr_c2DNumberArray(int nx, int ny, dtyp_cDataType type, const void* data = nullptr);
  parr_c2DNumberArray(int nx, int ny, dtyp_eDataType type, const void* data = nullptr)
      : parr_c2DNumberArray(nx, ny, dtyp_cDataType(type), data) {}
  /// nx * ny elements of `value`, which also is what selections put outside the array.
  parr_c2DNumberArray(int nx, int ny, const pnum_cNumber& value);
  /// Shares the elements of a typed array.
  template <detail::ElementType T>
  parr_c2DNumberArray(const arr_c2DNumberArray<T>& elements)
      : NumberArray(std::make_unique<parr_c2DTypedNumberArray<T>>(elements)) {}
  /// Takes ownership of a letter; a null one throws expt_cProgramException.
  explicit parr_c2DNumberArray(parr_c2DArray* letter);
  parr_c2DNumberArray(const parr_c2DNumberArray&) = default;
  parr_c2DNumberArray& operator=(const parr_c2DNumberArray&) = default;

  /// What streams call it.
  const tgio_cObjectType& ObjectType() const override;

  /// The number of axes.
  int Dimension() const noexcept { return 2; }
  /// The number of rows.
  int NumIndicesY() const { return letter_->NumIndicesY(); }
  /// (0, 0) to (nx, ny).
  rnge_c2DIndexRange IndexRange() const;

  /// Element (x, y). Only the position y * nx + x is checked: an x that is too large reaches into the rows
  /// that follow. A complex element without an imaginary part comes as a real number.
  pnum_cNumber Value(int x, int y) const;
  /// The same for indices of other integer types, of which no bits are lost.
  template <class X, detail::WideWith<X> Y>
  pnum_cNumber Value(X x, Y y) const {
    const auto [i, j] = Indices(detail::WideIndex(x), detail::WideIndex(y));
    return Value(i, j);
  }
  /// Element (x, y), checked in the same way, becomes `value`. The array first takes a type that holds both.
  void SetValue(const pnum_cNumber& value, int x, int y);
  /// The same for indices of other integer types, of which no bits are lost.
  template <class X, detail::WideWith<X> Y>
  void SetValue(const pnum_cNumber& value, X x, Y y) {
    const auto [i, j] = Indices(detail::WideIndex(x), detail::WideIndex(y));
    SetValue(value, i, j);
  }
  /// Every element becomes `value` and the array takes its type.
  parr_c2DNumberArray& operator=(const pnum_cNumber& value);

  /// Copies a block of the extents of `target_range`, from the start corner of `source_range`, to
  /// `target_range`; the array first takes a type that holds both. rnge_c2DIndexRange::Null stands for a
  /// whole array; when both ranges are Null nothing happens. For a block that does not fit the source, or
  /// whose rows leave the storage of this array, arr_IndexError is raised and nothing is copied.
  void SetData(const parr_c2DNumberArray& source, const rnge_c2DIndexRange& source_range,
               const rnge_c2DIndexRange& target_range);
  /// Copies the whole of `source` so that its element (0, 0) lands at (x, y).
  void SetSelection(const parr_c2DNumberArray& source, int x, int y);

  /// The elements of `range`, starts included and ends not; positions outside the array take its fill value.
  /// rnge_c2DIndexRange::Null gives the whole array, any other range that is empty on either axis raises
  /// arr_IndexError.
  parr_c2DNumberArray Selection(const rnge_c2DIndexRange& range) const;
  /// The same.
  parr_c2DNumberArray GetData(const rnge_c2DIndexRange& range) const { return Selection(range); }
  /// The block between two corners, in either order on each axis.
  parr_c2DNumberArray Selection(int x0, int y0, int x1, int y1) const;

  /// The ny elements (x, 0), (x, 1), ...
  parr_c1DNumberArray Column(int x) const { return letter_->Column(x); }
  /// The nx elements (0, y), (1, y), ...
  parr_c1DNumberArray Row(int y) const { return letter_->Row(y); }

  /// The typed array, sharing the elements. An array of another type throws expt_cProgramException.
  template <detail::ElementType T>
  operator arr_c2DNumberArray<T>() const {
    if (DataType() != detail::DataTypeOf<T>) parr_c2DArray::source_file.ThrowProgramError();
    return static_cast<const parr_c2DTypedNumberArray<T>&>(*letter_).Elements();
  }

  static const tgio_cObjectType _ObjectType;    ///< obty_2DParrayType
  static const dtyp_cDataType t2DValueArray;    ///< dtyp_Float32
  static const dtyp_cDataType t2DCountArray;    ///< dtyp_SBin32
  static const dtyp_cDataType t2DComplexArray;  ///< dtyp_Complex64

 private:
  /// The same as int; raises arr_IndexError for what no index can be.
  std::pair<int, int> Indices(std::int64_t x, std::int64_t y) const;
};
