#pragma once

#include <DataStorage/arrays/numberarray.h>
#include <DataStorage/positions/range1d.h>

template <class T>
class parr_c1DTypedNumberArray;

/// The letter of a 1D number array: one block of elements of one type.
class DATASTORAGE_EXPORT parr_c1DArray {
 public:
  virtual ~parr_c1DArray();

  /// The type of the elements.
  virtual dtyp_cDataType DataType() const = 0;
  /// A letter that shares the elements.
  virtual std::unique_ptr<parr_c1DArray> Clone() const = 0;
  /// Element 0; null when there are no elements.
  virtual const void* Data() const = 0;
  /// Every element becomes `value`, which has the letter's type.
  virtual void SetAll(const pnum_cNumber& value) = 0;
  /// The number of elements.
  virtual int NumIndices() const = 0;
  /// Element `i`.
  virtual pnum_cNumber Value(int i) const = 0;
  /// Element `i` becomes `value`, which has the letter's type; an index outside the array is ignored.
  virtual void SetValue(const pnum_cNumber& value, int i) = 0;
  /// A letter of the elements of `range`; fill values where it leaves the array.
  virtual std::unique_ptr<parr_c1DArray> Selection(const rnge_c1DIndexRange& range) const = 0;
  /// Copies as many elements as `target_range` has from a letter of the same type.
  virtual void SetData(const parr_c1DArray& source, const rnge_c1DIndexRange& source_range,
                       const rnge_c1DIndexRange& target_range) = 0;
  /// Reads what follows the element type in the raw form; false, and the letter as it was, when that fails.
  virtual type_cBoolean ReadRaw(bstr_cBinary_istream& in) = 0;
  /// Writes the elements as one atom; false when the stream failed.
  virtual type_cBoolean WriteData(tgio_cASCII_ostream& out, const str_cString& name) const = 0;
  virtual type_cBoolean WriteData(tgio_cBinary_ostream& out, unsigned short tag) const = 0;
  /// Writes the raw form; false when the stream failed.
  virtual type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const = 0;

  /// The same, by the name that it has in two dimensions.
  int NumIndicesX() const { return NumIndices(); }

  /// For the number arrays. They ask a letter where errors are reported, which classes belong to it, and for
  /// one of the same extents whose elements are not set.
  static constexpr detail::SourceFile source_file{"parray1d"};
  template <class T>
  using Typed = parr_c1DTypedNumberArray<T>;
  template <class T>
  using Container = arr_c1DNumberArray<T>;
  template <class T>
  std::unique_ptr<parr_c1DTypedNumberArray<T>> UnfilledLike() const {
    return std::make_unique<parr_c1DTypedNumberArray<T>>(arr_c1DNumberArray<T>(arr_Unfilled, NumIndices()));
  }

  /// The element type word of a raw form.
  static unsigned short ReadRawType(bstr_cBinary_istream& in);
};

/// The letter of a 1D number array whose elements are of type `T`.
template <class T>
class DATASTORAGE_EXPORT parr_c1DTypedNumberArray final
    : public detail::TypedLetter<parr_c1DArray, arr_c1DNumberArray<T>, T> {
 public:
  using detail::TypedLetter<parr_c1DArray, arr_c1DNumberArray<T>, T>::TypedLetter;

  /// As the base tells.
  std::unique_ptr<parr_c1DArray> Clone() const override;
  int NumIndices() const override { return this->elements_.NumIndices(); }
  pnum_cNumber Value(int i) const override;
  void SetValue(const pnum_cNumber& value, int i) override;
  std::unique_ptr<parr_c1DArray> Selection(const rnge_c1DIndexRange& range) const override;
  void SetData(const parr_c1DArray& source, const rnge_c1DIndexRange& source_range,
               const rnge_c1DIndexRange& target_range) override;
  type_cBoolean ReadRaw(bstr_cBinary_istream& in) override;
  type_cBoolean WriteRaw(bstr_cBinary_ostream& out) const override;
};

/// A one-dimensional array of numbers whose element type is chosen at run time. Elements enter and leave as
/// numbers, or as a block through `Data()`. Copies are cheap: they share the elements until one is written.
///
/// Positions outside the array raise arr_IndexError where nothing else is said.
class DATASTORAGE_EXPORT parr_c1DNumberArray : public detail::NumberArray<parr_c1DArray> {
 public:
  /// No elements, of type dtyp_UBin8.
  parr_c1DNumberArray();
  /// `count` elements with the values at `data`, or zeros when there are none. A negative count raises
  /// arr_SizeError, a type that is none throws expt_cProgramException.
  parr_c1DNumberArray(int count, dtyp_cDataType type, const void* data = nullptr);
  parr_c1DNumberArray(int count, dtyp_eDataType type, const void* data = nullptr)
      : parr_c1DNumberArray(count, dtyp_cDataType(type), data) {}
  /// `count` elements of `value`, which also is what selections put outside the array.
  parr_c1DNumberArray(int count, const pnum_cNumber& value);
  /// Shares the elements of a typed array.
  template <detail::ElementType T>
  parr_c1DNumberArray(const arr_c1DNumberArray<T>& elements)
      : NumberArray(std::make_unique<parr_c1DTypedNumberArray<T>>(elements)) {}
  /// Takes ownership of a letter; a null one throws expt_cProgramException.
  explicit parr_c1DNumberArray(parr_c1DArray* letter);
  parr_c1DNumberArray(const parr_c1DNumberArray&) = default;
  parr_c1DNumberArray& operator=(const parr_c1DNumberArray&) = default;

  /// What streams call it.
  const tgio_cObjectType& ObjectType() const override;

  /// The number of axes.
  int Dimension() const noexcept { return 1; }

  /// Element `i`. A complex element without an imaginary part comes as a real number.
  pnum_cNumber Value(int i) const;
  /// The same for an index of another integer type, of which no bits are lost.
  template <detail::WideInteger T>
  pnum_cNumber Value(T i) const {
    return Value(static_cast<int>(detail::CheckedIndex(detail::WideIndex(i), NumIndices())));
  }
  /// Element `i` becomes `value`. The array first takes a type that holds both. An index outside the array
  /// stores nothing.
  void SetValue(const pnum_cNumber& value, int i);
  /// The same for an index of another integer type, of which no bits are lost.
  template <detail::WideInteger T>
  void SetValue(const pnum_cNumber& value, T i) {
    const std::int64_t index = detail::WideIndex(i);
    SetValue(value, index >= 0 && index < NumIndices() ? static_cast<int>(index) : -1);
  }
  /// Every element becomes `value` and the array takes its type.
  parr_c1DNumberArray& operator=(const pnum_cNumber& value);

  /// Copies as many elements of `source` as `target_range` has, from the start of `source_range`, to
  /// `target_range`; the array first takes a type that holds both. rnge_c1DIndexRange::Null stands for a
  /// whole array; when both ranges are Null nothing happens. For a block that does not fit either array
  /// arr_IndexError is raised and nothing is copied.
  void SetData(const parr_c1DNumberArray& source, const rnge_c1DIndexRange& source_range,
               const rnge_c1DIndexRange& target_range);
  /// Copies the whole of `source` to the positions `offset` ...
  void SetSelection(const parr_c1DNumberArray& source, int offset);

  /// The elements of `range`, start included and end not; positions outside the array take its fill value
  /// (zero, or the value last given to all elements). rnge_c1DIndexRange::Null gives the whole array, any
  /// other empty range raises arr_IndexError.
  parr_c1DNumberArray Selection(const rnge_c1DIndexRange& range) const;
  /// The same.
  parr_c1DNumberArray GetData(const rnge_c1DIndexRange& range) const { return Selection(range); }
  /// The elements between two positions, in either order, without the larger one.
  parr_c1DNumberArray Selection(int first, int second) const;

  static const tgio_cObjectType _ObjectType;    ///< obty_1DParrayType
  static const dtyp_cDataType t1DValueArray;    ///< dtyp_Float64
  static const dtyp_cDataType t1DCountArray;    ///< dtyp_SBin32
  static const dtyp_cDataType t1DComplexArray;  ///< dtyp_Complex128
};
