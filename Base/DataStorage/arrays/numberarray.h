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

/// What number arrays of one and of two dimensions have in common: an envelope that owns exactly one letter,
/// through which it knows its elements. `Letter` is parr_c1DArray or parr_c2DArray.
///
/// Copies share their elements until one of them is written; arrays that share elements belong to one thread
/// at a time.
template <class Letter>
class DATASTORAGE_EXPORT NumberArray : public tgio_cTaggedStreamObject {
 public:
  virtual ~NumberArray() = default;

  /// The type of the elements.
  dtyp_cDataType DataType() const { return letter_->DataType(); }
  /// Whether the type is an integer or a float.
  type_cBoolean IsReal() const { return DataType().IsReal(); }
  /// Whether the type is a complex one.
  type_cBoolean IsComplex() const { return DataType().IsComplex(); }
  /// The number of elements.
  int NumIndices() const { return letter_->NumIndices(); }
  /// The number of elements along X.
  int NumIndicesX() const { return letter_->NumIndicesX(); }
  /// Bytes of all elements; raises arr_SizeError when there are more than an int can hold.
  int SizeOf() const;
  /// The elements, X running fastest; null when there are none. Valid until the array is next modified,
  /// assigned, read into or destroyed.
  const void* Data() const { return letter_->Data(); }

  /// Gives the elements another type. An empty array keeps the type it has; otherwise a type that is none
  /// throws expt_cProgramException. `complex_conversion` tells what becomes of complex elements.
  void Convert(dtyp_cDataType type, conv_eComplexConversion complex_conversion = conv_Real);

  /// The element type and the elements, as two atoms.
  type_cBoolean Write(tgio_cASCII_ostream& out) const override;
  type_cBoolean Write(tgio_cBinary_ostream& out) const override;

  /// The raw form: element type (2 bytes), extents (4 bytes each), elements. False when the stream failed.
  type_cBoolean Write(bstr_cBinary_ostream& out) const;
  /// Reads the raw form of the integer types but dtyp_SBin8 and of the float types. For other types, and for
  /// streams that fail or hold fewer bytes than the extents claim (extents that no array can have included),
  /// the result is false and the array stays as it was. Negative extents raise arr_SizeError.
  type_cBoolean Read(bstr_cBinary_istream& in);

  using tgio_cTaggedStreamObject::Read;

  /// Collects the atoms of an array that is read from a tagged stream.
  struct DATASTORAGE_EXPORT sParrayData : tgio_cTaggedStreamObject {
    std::unique_ptr<Letter> letter;  ///< none until the data atom was read
    int data_type = dtyp_NoType;     ///< none until the type atom was read

    sParrayData() = default;
    /// Shares the elements read so far.
    sParrayData(const sParrayData& other);
    /// Shares the elements read so far.
    sParrayData& operator=(const sParrayData& other);
    ~sParrayData() = default;

    /// Takes the type and the data. Data that come before the type, or behind a type name that is unknown,
    /// count as 8-byte floats; a type number above 10 makes the data unreadable; a second data atom throws
    /// expt_cProgramException.
    type_cBoolean ReadAtom(tgio_cBinary_istream& in) override;
    type_cBoolean ReadAtom(tgio_cASCII_istream& in) override;

   private:
    template <class Stream>
    type_cBoolean ReadElements(Stream& in);
  };

 protected:
  /// Takes over a letter; throws expt_cProgramException when it is null.
  explicit NumberArray(std::unique_ptr<Letter> letter) : letter_(std::move(letter)) {
    if (letter_ == nullptr) Letter::source_file.ThrowProgramError();
  }
  /// Shares the elements.
  NumberArray(const NumberArray& other) : tgio_cTaggedStreamObject(other), letter_(other.letter_->Clone()) {}
  /// Shares the elements from now on.
  NumberArray& operator=(const NumberArray& other) {
    if (this != &other) letter_ = other.letter_->Clone();
    return *this;
  }

  /// A letter of the given extents with the values at `data`, which needs no alignment, or zeros when there
  /// are none. A type that is none throws expt_cProgramException.
  template <class... Extents>
  static std::unique_ptr<Letter> CreateLetter(dtyp_cDataType type, const void* data, Extents... extents);
  /// A letter of the given extents and the type of `value`, full of it.
  template <class... Extents>
  static std::unique_ptr<Letter> CreateLetter(const pnum_cNumber& value, Extents... extents);

  /// Takes a type that holds both and calls `store` with `value` in that type.
  template <class Store>
  void StoreInCommonType(const pnum_cNumber& value, Store store);

  std::unique_ptr<Letter> letter_;  ///< never null
};

/// A letter that holds its elements in a container of `T`: what does not depend on the number of dimensions.
template <class Letter, class Container, class T>
class DATASTORAGE_EXPORT TypedLetter : public Letter {
 public:
  /// Shares the elements of the container.
  explicit TypedLetter(Container elements = Container()) : elements_(std::move(elements)) {}

  /// As the base tells.
  dtyp_cDataType DataType() const override { return DataTypeOf<T>; }
  const void* Data() const override { return elements_.Data(); }
  void SetAll(const pnum_cNumber& value) override { elements_ = Element(value); }
  type_cBoolean WriteData(tgio_cASCII_ostream& out, const str_cString& name) const override {
    return out.Write(elements_, name, false);
  }
  type_cBoolean WriteData(tgio_cBinary_ostream& out, unsigned short tag) const override {
    return out.Write(elements_, tag);
  }

  /// The elements; valid as long as the letter.
  const Container& Elements() const noexcept { return elements_; }
  /// The elements, to be written.
  Container& Elements() noexcept { return elements_; }

 protected:
  /// The element that a number of this letter's type holds.
  static const T& Element(const pnum_cNumber& value) { return *static_cast<const T*>(value.Data()); }

  /// Replaces the elements by the ones that follow in the stream, as many as `elements` has room for.
  type_cBoolean ReadElements(bstr_cBinary_istream& in, Container elements) {
    if (!bstr_ReadNumbers(in, elements.WriteAccess(), elements.NumIndices())) return false;
    elements_ = std::move(elements);
    return true;
  }

  Container elements_;  ///< may share its storage with other letters
};

}  // namespace detail
