#pragma once

#include <memory>
#include <utility>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/detail/indices.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/numbers/elements.h>
#include <DataStorage/numbers/pnumber.h>

namespace detail {

/// Base of letters, the objects that hold the elements of number arrays. Copies of an array share one until
/// one of them is modified.
class NumberLetter : public Counted {
 public:
  /// The type of the elements of a TypedLetter; `dtyp_NoType` of a letter of another class.
  dtyp_eDataType Type() const noexcept { return type_; }

 protected:
  /// `type` is that of a TypedLetter.
  explicit NumberLetter(dtyp_eDataType type = dtyp_NoType) noexcept : type_(type) {}

 private:
  dtyp_eDataType type_;
};

/// Common base of one- and two-dimensional number arrays: an envelope with one letter. `Letter` is
/// parr_c1DArray or parr_c2DArray.
///
/// Copies share their elements until one of them is modified. Distinct objects may be used from different
/// threads; one object, or copies that share elements, from one thread at a time.
template <class Letter>
class DATASTORAGE_TEMPLATE NumberArray : public tgio_cTaggedStreamObject {
 public:
  virtual ~NumberArray() = default;

  /// The type of the elements.
  dtyp_cDataType DataType() const { return letter_->DataType(); }
  /// Whether the element type is an integer or a floating-point type.
  type_cBoolean IsReal() const { return DataType().IsReal(); }
  /// Whether the element type is complex.
  type_cBoolean IsComplex() const { return DataType().IsComplex(); }
  /// The number of elements.
  int NumIndices() const { return letter_->NumIndices(); }
  /// The number of elements along X.
  int NumIndicesX() const { return letter_->NumIndicesX(); }
  /// The size of all elements in bytes; throws arr_cSizeException when it does not fit an int.
  int SizeOf() const;
  /// The elements, X running fastest; null when there are none. Valid until the array is next modified,
  /// assigned, read into or destroyed.
  const void* Data() const { return letter_->Data(); }

  /// Converts the elements to another type. An empty array keeps its type; otherwise an invalid type throws
  /// expt_cProgramException. `complex_conversion` selects how complex elements become real.
  void Convert(dtyp_cDataType type, conv_eComplexConversion complex_conversion = conv_Real);

  /// Writes the element type and the elements as two atoms.
  type_cBoolean Write(tgio_cASCII_ostream& out) const override;
  type_cBoolean Write(tgio_cBinary_ostream& out) const override;

  /// Writes the raw form in one piece: element type (2 bytes), extents (4 bytes each), elements. Returns
  /// false when the stream fails.
  type_cBoolean Write(bstr_cBinary_ostream& out) const;
  /// Reads the raw form of the floating-point types and of the integer types except dtyp_SBin8. Returns false
  /// and leaves the array unchanged for other types, for extents that no array can have, and when the stream
  /// fails or is too short. Negative extents throw arr_cSizeException.
  type_cBoolean Read(bstr_cBinary_istream& in);

  using tgio_cTaggedStreamObject::Read;

  /// Collects the atoms of an array that is read from a tagged stream.
  struct DATASTORAGE_EXPORT sParrayData : tgio_cTaggedStreamObject {
    std::unique_ptr<Letter> letter;  ///< null until the data atom is read
    int data_type = dtyp_NoType;     ///< dtyp_NoType until the type atom is read

    sParrayData() = default;
    /// Shares the elements read so far.
    sParrayData(const sParrayData& other);
    /// Shares the elements read so far.
    sParrayData& operator=(const sParrayData& other);
    ~sParrayData() = default;

    /// Reads the element type and the elements. Elements before the type, or after an unknown type name, are
    /// read as 8-byte floats; after a type number above 10 they cannot be read. A second data atom throws
    /// expt_cProgramException.
    type_cBoolean ReadAtom(tgio_cBinary_istream& in) override;
    type_cBoolean ReadAtom(tgio_cASCII_istream& in) override;

   private:
    template <class Stream>
    type_cBoolean ReadElements(Stream& in);
  };

 protected:
  /// Takes ownership of `letter`; copies the elements when it is not a TypedLetter. Throws
  /// expt_cProgramException when it is null or the type of its elements is none.
  explicit NumberArray(std::unique_ptr<Letter> letter);
  /// Shares the letter.
  NumberArray(const NumberArray&) = default;
  NumberArray& operator=(const NumberArray&) = default;

  /// The letter, to be modified: one that no other array shares.
  Letter& Own() {
    if (letter_.bShared()) CopyLetter();
    return letter_.Write();
  }
  /// The letter as the class that it is, or null when that is another one.
  template <class T>
  const typename Letter::template Typed<T>* IfTyped() const {
    const bool typed = letter_->Type() == DataTypeOf<T>;
    return typed ? static_cast<const typename Letter::template Typed<T>*>(&*letter_) : nullptr;
  }
  /// The same, to be modified.
  template <class T>
  typename Letter::template Typed<T>* OwnIfTyped() {
    const bool typed = letter_->Type() == DataTypeOf<T>;
    return typed ? static_cast<typename Letter::template Typed<T>*>(&Own()) : nullptr;
  }
  /// Calls `f` with the letter as the class that it is: no virtual call stands in the way of inlining.
  template <class F>
  auto VisitTyped(F f) const {
    if (const auto* doubles = IfTyped<double>()) return f(*doubles);  // the most frequent type
    return VisitElementType(letter_->Type(),
                            [&]<class T>(std::type_identity<T>) { return f(*IfTyped<T>()); });
  }

  /// A new letter of the given extents. The elements are copied from `data`, which needs no alignment, or
  /// zeros when `data` is null. An invalid type throws expt_cProgramException.
  template <class... Extents>
  static std::unique_ptr<Letter> CreateLetter(dtyp_cDataType type, const void* data, Extents... extents);
  /// A new letter of the given extents whose elements and fill value are `value`.
  template <class... Extents>
  static std::unique_ptr<Letter> CreateLetter(const pnum_cNumber& value, Extents... extents);

  /// Converts the array to a type that holds its elements and `value`, and calls `store` with `value` in that
  /// type.
  template <class Store>
  void StoreInCommonType(const pnum_cNumber& value, Store store);

  /// Writes the raw form field by field.
  type_cBoolean WriteRawParts(bstr_cBinary_ostream& out) const;

  Shared<Letter> letter_;  ///< never none

 private:
  void CopyLetter();
};

/// Writes the elements of a container to which nobody has a pointer for writing.
template <class Container>
class SharedElements final : public tgio_cStreamObject {
 public:
  /// Requires that `elements` outlives this object.
  explicit SharedElements(const Container& elements) noexcept : elements_(elements) {}
  using tgio_cStreamObject::ReadStream;
  using tgio_cStreamObject::WriteStream;
  type_cBoolean ReadStream(tgio_cBinary_istream&) override { return false; }
  type_cBoolean WriteStream(tgio_cBinary_ostream& out) const override {
    return elements_.WriteElements(out, true);
  }

 private:
  const Container& elements_;
};

/// A letter that holds its elements in a container of `T`: the part that does not depend on the number of
/// dimensions.
template <class Letter, class Container, class T>
class DATASTORAGE_TEMPLATE TypedLetter : public Letter {
 public:
  /// Shares the elements of the container.
  explicit TypedLetter(Container elements = Container())
      : Letter(DataTypeOf<T>), elements_(std::move(elements)) {}

  /// See parr_c1DArray and parr_c2DArray.
  dtyp_cDataType DataType() const override { return DataTypeOf<T>; }
  const void* Data() const override { return elements_.Data(); }
  void SetAll(const pnum_cNumber& value) override { elements_ = Element(value); }
  type_cBoolean WriteData(tgio_cASCII_ostream& out, const str_cString& name) const override {
    return out.Write(elements_, name, false);
  }
  type_cBoolean WriteData(tgio_cBinary_ostream& out, unsigned short tag) const override {
    return out.Write(SharedElements<Container>(elements_), tag);
  }

  /// The elements; valid as long as the letter exists.
  const Container& Elements() const noexcept { return elements_; }
  /// The elements, for writing.
  Container& Elements() noexcept { return elements_; }

 protected:
  /// The value of a number as `T`. Requires a number of this letter's type.
  static const T& Element(const pnum_cNumber& value) { return *static_cast<const T*>(value.Data()); }

  /// Reads elements.NumIndices() elements from the stream and replaces the old ones; returns false and keeps
  /// those on failure.
  type_cBoolean ReadElements(bstr_cBinary_istream& in, Container elements) {
    if (!bstr_ReadNumbers(in, elements.WriteAccess(), elements.NumIndices())) return false;
    elements_ = std::move(elements);
    return true;
  }

  Container elements_;  ///< may share storage with other letters
};

}  // namespace detail
