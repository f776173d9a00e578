#pragma once

#include <DataStorage/arrays/numberarray.h>
#include <DataStorage/positions/range1d.h>

template <class T>
class parr_c1DTypedNumberArray;

/// The letter of a 1D number array: the object that holds its elements, all of one type.
class DATASTORAGE_EXPORT parr_c1DArray : public detail::NumberLetter {
 public:
  parr_c1DArray() noexcept = default;
  virtual ~parr_c1DArray();

  /// The type of the elements.
  virtual dtyp_cDataType DataType() const = 0;
  /// A new letter that shares the elements.
  virtual std::unique_ptr<parr_c1DArray> Clone() const = 0;
  /// Element 0; null when there are no elements.
  virtual const void* Data() const = 0;
  /// Sets every element and the fill value. Requires a `value` of the letter's type.
  virtual void SetAll(const pnum_cNumber& value) = 0;
  /// The number of elements.
  virtual int NumIndices() const = 0;
  /// Element `i`.
  virtual pnum_cNumber Value(int i) const = 0;
  /// Sets element `i`; an index outside the array is ignored. Requires a `value` of the letter's type.
  virtual void SetValue(const pnum_cNumber& value, int i) = 0;
  /// A new letter with the elements of `range`; positions outside the array take the fill value.
  virtual std::unique_ptr<parr_c1DArray> Selection(const rnge_c1DIndexRange& range) const = 0;
  /// Copies as many elements as `target_range` has from the start of `source_range`. Requires a source of the
  /// same type that contains the block.
  virtual void SetData(const parr_c1DArray& source, const rnge_c1DIndexRange& source_range,
                       const rnge_c1DIndexRange& target_range) = 0;
  /// Reads the rest of a raw form, after the element type. Returns false and leaves the letter unchanged on
  /// failure; negative extents throw arr_cSizeException.
  virtual type_cBoolean ReadRaw(bstr_cBinary_istream& in) = 0;
  /// Writes the elements as one atom; returns false when the stream fails.
  virtual type_cBoolean WriteData(tgio_cASCII_ostream& out, const str_cString& name) const = 0;
  virtual type_cBoolean WriteData(tgio_cBinary_ostream& out, unsigned short tag) const = 0;
  /// Writes the rest of a raw form, after the element type; returns false when the stream fails.
  virtual type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const = 0;

  /// The same as NumIndices(), under its name in two dimensions.
  int NumIndicesX() const { return NumIndices(); }

  /// For detail::NumberArray: the source file named in exceptions, the classes that belong to this letter,
  /// and a new letter of the same extents with uninitialised elements.
  static constexpr detail::SourceFile source_file{"parray1d"};
  template <class T>
  using Typed = parr_c1DTypedNumberArray<T>;
  template <class T>
  using Container = arr_c1DNumberArray<T>;
  template <class T>
  std::unique_ptr<parr_c1DTypedNumberArray<T>> UnfilledLike() const {
    return std::make_unique<parr_c1DTypedNumberArray<T>>(arr_c1DNumberArray<T>(arr_Unfilled, NumIndices()));
  }

  /// Reads the element type of a raw form.
  static unsigned short ReadRawType(bstr_cBinary_istream& in);

 private:
  template <class Letter, class Container, class T>
  friend class detail::TypedLetter;
  explicit parr_c1DArray(dtyp_eDataType type) noexcept : NumberLetter(type) {}
};

/// The letter of a 1D number array whose elements are of type `T`.
template <class T>
class DATASTORAGE_TEMPLATE parr_c1DTypedNumberArray final
    : public detail::TypedLetter<parr_c1DArray, arr_c1DNumberArray<T>, T> {
 public:
  using detail::TypedLetter<parr_c1DArray, arr_c1DNumberArray<T>, T>::TypedLetter;

  /// See parr_c1DArray.
  std::unique_ptr<parr_c1DArray> Clone() const override;
  int NumIndices() const override { return this->elements_.NumIndices(); }
  pnum_cNumber Value(int i) const override { return pnum_cNumber(this->elements_[i]); }
  void SetValue(const pnum_cNumber& value, int i) override {
    if (i >= 0 && i < NumIndices()) this->elements_.WriteAccess()[i] = this->Element(value);
  }
  std::unique_ptr<parr_c1DArray> Selection(const rnge_c1DIndexRange& range) const override;
  void SetData(const parr_c1DArray& source, const rnge_c1DIndexRange& source_range,
               const rnge_c1DIndexRange& target_range) override;
  type_cBoolean ReadRaw(bstr_cBinary_istream& in) override;
  type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const override;
};

#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  DATASTORAGE_EXTERN(parr_c1DTypedNumberArray<type>);
#include <DataStorage/interfaces/elementtypes.def>

DATASTORAGE_EXTERN(detail::NumberArray<parr_c1DArray>);

/// A one-dimensional array of numbers whose element type is chosen at run time. Elements are read and set as
/// pnum_cNumber; `Data()` returns them as a block. Copies are cheap: they share the elements until one is
/// modified. Distinct objects may be used from different threads; one object, or copies that share elements,
/// from one thread at a time.
///
/// Positions outside the array throw arr_cIndexException unless stated otherwise.
class DATASTORAGE_EXPORT parr_c1DNumberArray : public detail::NumberArray<parr_c1DArray> {
 public:
  /// No elements, of type dtyp_UBin8.
  parr_c1DNumberArray();
  /// `count` elements, copied from `data`, or zeros when `data` is null. A negative count throws
  /// arr_cSizeException, an invalid type expt_cProgramException.
  parr_c1DNumberArray(int count, dtyp_cDataType type, const void* data = nullptr);
  parr_c1DNumberArray(int count, dtyp_eDataType type, const void* data = nullptr)
      : parr_c1DNumberArray(count, dtyp_cDataType(type), data) {}
  /// `count` elements of `value`, which is also the fill value.
  parr_c1DNumberArray(int count, const pnum_cNumber& value);
  /// Shares the elements of a typed array.
  template <detail::ElementType T>
  parr_c1DNumberArray(const arr_c1DNumberArray<T>& elements)
      : NumberArray(std::make_unique<parr_c1DTypedNumberArray<T>>(elements)) {}
  /// Takes ownership of `letter`, which must not be modified any more; copies the elements when it is not a
  /// parr_c1DTypedNumberArray. Null throws expt_cProgramException.
  explicit parr_c1DNumberArray(parr_c1DArray* letter);
  parr_c1DNumberArray(const parr_c1DNumberArray&) = default;
  parr_c1DNumberArray& operator=(const parr_c1DNumberArray&) = default;

  /// The object type in tagged streams.
  const tgio_cObjectType& ObjectType() const override;

  /// The number of axes.
  int Dimension() const noexcept { return 1; }

  /// Element `i`. A complex element without an imaginary part is returned as a real number.
  pnum_cNumber Value(int i) const {
    return VisitTyped([=](const auto& letter) { return letter.Value(i); });
  }
  /// The same for other integer types; a value that does not fit an int is out of range.
  template <detail::WideInteger T>
  pnum_cNumber Value(T i) const {
    return Value(static_cast<int>(detail::CheckedIndex(detail::WideIndex(i), NumIndices())));
  }
  /// Sets element `i`. The array first takes a type that holds its elements and `value`. For an index outside
  /// the array nothing is stored.
  void SetValue(const pnum_cNumber& value, int i) {
    auto* const doubles = value.DataType() == dtyp_Float64 ? OwnIfTyped<double>() : nullptr;
    doubles != nullptr ? doubles->SetValue(value, i) : SetAnyValue(value, i);
  }
  /// The same for other integer types; a value that does not fit an int is out of range.
  template <detail::WideInteger T>
  void SetValue(const pnum_cNumber& value, T i) {
    const std::int64_t index = detail::WideIndex(i);
    SetValue(value, index >= 0 && index < NumIndices() ? static_cast<int>(index) : -1);
  }
  /// Sets every element and the fill value to `value`; the array takes its type.
  parr_c1DNumberArray& operator=(const pnum_cNumber& value);

  /// Copies as many elements of `source` as `target_range` has, from the start of `source_range`, to
  /// `target_range`; the array first takes a type that holds the elements of both. rnge_c1DIndexRange::Null
  /// means a whole array; when both ranges are Null nothing happens. A block that is not inside both arrays
  /// throws arr_cIndexException and nothing is copied.
  void SetData(const parr_c1DNumberArray& source, const rnge_c1DIndexRange& source_range,
               const rnge_c1DIndexRange& target_range);
  /// Copies all of `source` to the positions from `offset` on.
  void SetSelection(const parr_c1DNumberArray& source, int offset);

  /// The elements of `range`; positions outside the array take the fill value (zero, or the value last
  /// assigned to all elements). rnge_c1DIndexRange::Null returns the whole array, any other empty range
  /// throws arr_cIndexException.
  parr_c1DNumberArray Selection(const rnge_c1DIndexRange& range) const;
  /// The same as Selection.
  parr_c1DNumberArray GetData(const rnge_c1DIndexRange& range) const { return Selection(range); }
  /// The elements between two positions, given in any order; the larger one is excluded.
  parr_c1DNumberArray Selection(int first, int second) const;

  static const tgio_cObjectType _ObjectType;    ///< obty_1DParrayType
  static const dtyp_cDataType t1DValueArray;    ///< dtyp_Float64
  static const dtyp_cDataType t1DCountArray;    ///< dtyp_SBin32
  static const dtyp_cDataType t1DComplexArray;  ///< dtyp_Complex128

 private:
  void SetAnyValue(const pnum_cNumber& value, int i);
};
