#pragma once

#include <DataStorage/arrays/parray1d.h>
#include <DataStorage/positions/range2d.h>

template <class T>
class parr_c2DTypedNumberArray;

/// The letter of a 2D number array: the object that holds its elements, all of one type.
class DATASTORAGE_EXPORT parr_c2DArray : public detail::NumberLetter {
 public:
  parr_c2DArray() noexcept = default;
  virtual ~parr_c2DArray();

  /// The type of the elements.
  virtual dtyp_cDataType DataType() const = 0;
  /// A new letter that shares the elements.
  virtual std::unique_ptr<parr_c2DArray> Clone() const = 0;
  /// Element (0, 0); null when there are no elements.
  virtual const void* Data() const = 0;
  /// Sets every element and the fill value. Requires a `value` of the letter's type.
  virtual void SetAll(const pnum_cNumber& value) = 0;
  /// The number of elements along X and along Y.
  virtual int NumIndicesX() const = 0;
  virtual int NumIndicesY() const = 0;
  /// Element (x, y).
  virtual pnum_cNumber Value(int x, int y) const = 0;
  /// Sets element (x, y). Requires a `value` of the letter's type.
  virtual void SetValue(const pnum_cNumber& value, int x, int y) = 0;
  /// A new letter with the elements of `range`; positions outside the array take the fill value.
  virtual std::unique_ptr<parr_c2DArray> Selection(const rnge_c2DIndexRange& range) const = 0;
  /// Copies a block with the extents of `target_range` from the start corner of `source_range`. Requires a
  /// source of the same type that contains the block.
  virtual void SetData(const parr_c2DArray& source, const rnge_c2DIndexRange& source_range,
                       const rnge_c2DIndexRange& target_range) = 0;
  /// One column; throws arr_cIndexException when `x` is out of range.
  virtual parr_c1DNumberArray Column(int x) const = 0;
  /// One row; throws arr_cIndexException when `y` is out of range.
  virtual parr_c1DNumberArray Row(int y) const = 0;
  /// Reads the rest of a raw form, after the element type. Returns false and leaves the letter unchanged on
  /// failure; negative extents throw arr_cSizeException.
  virtual type_cBoolean ReadRaw(bstr_cBinary_istream& in) = 0;
  /// Writes the elements as one atom; returns false when the stream fails.
  virtual type_cBoolean WriteData(tgio_cASCII_ostream& out, const str_cString& name) const = 0;
  virtual type_cBoolean WriteData(tgio_cBinary_ostream& out, unsigned short tag) const = 0;
  /// Writes the rest of a raw form, after the element type; returns false when the stream fails.
  virtual type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const = 0;

  /// The number of elements.
  int NumIndices() const { return NumIndicesX() * NumIndicesY(); }

  /// For detail::NumberArray: the source file named in exceptions, the classes that belong to this letter,
  /// and a new letter of the same extents with uninitialised elements.
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

  /// Reads the element type of a raw form, skipping the binary image header that may precede it.
  static unsigned short ReadRawType(bstr_cBinary_istream& in);

 private:
  template <class Letter, class Container, class T>
  friend class detail::TypedLetter;
  explicit parr_c2DArray(dtyp_eDataType type) noexcept : NumberLetter(type) {}
};

/// The letter of a 2D number array whose elements are of type `T`.
template <class T>
class DATASTORAGE_TEMPLATE parr_c2DTypedNumberArray final
    : public detail::TypedLetter<parr_c2DArray, arr_c2DNumberArray<T>, T> {
 public:
  using detail::TypedLetter<parr_c2DArray, arr_c2DNumberArray<T>, T>::TypedLetter;

  /// See parr_c2DArray.
  std::unique_ptr<parr_c2DArray> Clone() const override;
  int NumIndicesX() const override { return this->elements_.NumIndicesX(); }
  int NumIndicesY() const override { return this->elements_.NumIndicesY(); }
  pnum_cNumber Value(int x, int y) const override { return pnum_cNumber(this->elements_.Value(x, y)); }
  void SetValue(const pnum_cNumber& value, int x, int y) override {
    this->elements_.SetValue(this->Element(value), x, y);
  }
  std::unique_ptr<parr_c2DArray> Selection(const rnge_c2DIndexRange& range) const override;
  void SetData(const parr_c2DArray& source, const rnge_c2DIndexRange& source_range,
               const rnge_c2DIndexRange& target_range) override;
  parr_c1DNumberArray Column(int x) const override;
  parr_c1DNumberArray Row(int y) const override;
  type_cBoolean ReadRaw(bstr_cBinary_istream& in) override;
  type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const override;
};

#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  DATASTORAGE_EXTERN(parr_c2DTypedNumberArray<type>);
#include <DataStorage/interfaces/elementtypes.def>

DATASTORAGE_EXTERN(detail::NumberArray<parr_c2DArray>);

/// A two-dimensional array of numbers whose element type is chosen at run time; otherwise like
/// parr_c1DNumberArray. Element (x, y) is at position y * nx + x, x running fastest.
class DATASTORAGE_EXPORT parr_c2DNumberArray : public detail::NumberArray<parr_c2DArray> {
 public:
  /// 0 x 0 elements of type dtyp_UBin8.
  parr_c2DNumberArray();
  /// nx * ny elements, copied from `data` row by row, or zeros when `data` is null. A negative extent throws
  /// arr_cSizeException, an invalid type expt_cProgramException.
  parr_c2DNumberArray(int nx, int ny, dtyp_cDataType type, const void* data = nullptr);
  parr_c2DNumberArray(int nx, int ny, dtyp_eDataType type, const void* data = nullptr)
      : parr_c2DNumberArray(nx, ny, dtyp_cDataType(type), data) {}
  /// nx * ny elements of `value`, which is also the fill value.
  parr_c2DNumberArray(int nx, int ny, const pnum_cNumber& value);
  /// Shares the elements of a typed array.
  template <detail::ElementType T>
  parr_c2DNumberArray(const arr_c2DNumberArray<T>& elements)
      : NumberArray(std::make_unique<parr_c2DTypedNumberArray<T>>(elements)) {}
  /// Takes ownership of `letter`, which must not be modified any more; copies the elements when it is not a
  /// parr_c2DTypedNumberArray. Null throws expt_cProgramException.
  explicit parr_c2DNumberArray(parr_c2DArray* letter);
  parr_c2DNumberArray(const parr_c2DNumberArray&) = default;
  parr_c2DNumberArray& operator=(const parr_c2DNumberArray&) = default;

  /// The object type in tagged streams.
  const tgio_cObjectType& ObjectType() const override;

  /// The number of axes.
  int Dimension() const noexcept { return 2; }
  /// The number of rows.
  int NumIndicesY() const { return letter_->NumIndicesY(); }
  /// (0, 0) to (nx, ny).
  rnge_c2DIndexRange IndexRange() const;

  /// Element (x, y). Only the position y * nx + x is checked: an x that is too large reaches into the rows
  /// that follow. A complex element without an imaginary part is returned as a real number.
  pnum_cNumber Value(int x, int y) const {
    return VisitTyped([=](const auto& letter) { return letter.Value(x, y); });
  }
  /// The same for other integer types; an index that does not fit an int throws arr_cIndexException.
  template <class X, detail::WideWith<X> Y>
  pnum_cNumber Value(X x, Y y) const {
    const auto [i, j] = Indices(detail::WideIndex(x), detail::WideIndex(y));
    return Value(i, j);
  }
  /// Sets element (x, y), checked in the same way. The array first takes a type that holds its elements and
  /// `value`.
  void SetValue(const pnum_cNumber& value, int x, int y) {
    auto* const doubles = value.DataType() == dtyp_Float64 ? OwnIfTyped<double>() : nullptr;
    doubles != nullptr ? doubles->SetValue(value, x, y) : SetAnyValue(value, x, y);
  }
  /// The same for other integer types; an index that does not fit an int throws arr_cIndexException.
  template <class X, detail::WideWith<X> Y>
  void SetValue(const pnum_cNumber& value, X x, Y y) {
    const auto [i, j] = Indices(detail::WideIndex(x), detail::WideIndex(y));
    SetValue(value, i, j);
  }
  /// Sets every element and the fill value to `value`; the array takes its type.
  parr_c2DNumberArray& operator=(const pnum_cNumber& value);

  /// Copies a block with the extents of `target_range` from the start corner of `source_range` to
  /// `target_range`; the array first takes a type that holds the elements of both. rnge_c2DIndexRange::Null
  /// means a whole array; when both ranges are Null nothing happens. A block that is not inside the source,
  /// or whose rows leave the storage of this array, throws arr_cIndexException and nothing is copied.
  void SetData(const parr_c2DNumberArray& source, const rnge_c2DIndexRange& source_range,
               const rnge_c2DIndexRange& target_range);
  /// Copies all of `source`, its element (0, 0) to (x, y).
  void SetSelection(const parr_c2DNumberArray& source, int x, int y);

  /// The elements of `range`; positions outside the array take the fill value. rnge_c2DIndexRange::Null
  /// returns the whole array, any other range that is empty along an axis throws arr_cIndexException.
  parr_c2DNumberArray Selection(const rnge_c2DIndexRange& range) const;
  /// The same as Selection.
  parr_c2DNumberArray GetData(const rnge_c2DIndexRange& range) const { return Selection(range); }
  /// The block between two corners, given in any order; the larger index of each axis is excluded.
  parr_c2DNumberArray Selection(int x0, int y0, int x1, int y1) const;

  /// The ny elements (x, 0), (x, 1), ...
  parr_c1DNumberArray Column(int x) const { return letter_->Column(x); }
  /// The nx elements (0, y), (1, y), ...
  parr_c1DNumberArray Row(int y) const { return letter_->Row(y); }

  /// A typed array that shares the elements. Throws expt_cProgramException when their type is not `T`.
  template <detail::ElementType T>
  operator arr_c2DNumberArray<T>() const {
    const auto* const typed = IfTyped<T>();
    if (typed == nullptr) parr_c2DArray::source_file.ThrowProgramError();
    return typed->Elements();
  }

  static const tgio_cObjectType _ObjectType;    ///< obty_2DParrayType
  static const dtyp_cDataType t2DValueArray;    ///< dtyp_Float32
  static const dtyp_cDataType t2DCountArray;    ///< dtyp_SBin32
  static const dtyp_cDataType t2DComplexArray;  ///< dtyp_Complex64

 private:
  void SetAnyValue(const pnum_cNumber& value, int x, int y);
  /// The indices as int; throws arr_cIndexException when one does not fit.
  std::pair<int, int> Indices(std::int64_t x, std::int64_t y) const;
};
