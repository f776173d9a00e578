#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <ostream>
#include <type_traits>

#include <DataStorage/interfaces/comp.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/interfaces/type.h>
#include <DataStorage/numbers/datatype.h>
#include <DataStorage/numbers/elements.h>

/// The letter of a number: its value as an object that is used without knowledge of the type.
class DATASTORAGE_EXPORT pnum_cLetter {
 public:
  /// The type of the value.
  virtual dtyp_cDataType DataType() const noexcept = 0;
  /// A copy of the letter.
  virtual std::unique_ptr<pnum_cLetter> Clone() const = 0;
  /// The address of the value, valid as long as the letter.
  virtual const void* Data() const noexcept = 0;
  /// The value as text, as `pnum_cNumber::StringOut` returns it.
  virtual str_cString StringOut(int width, int precision) const = 0;
  /// Writes the value as a number, also that of a one-byte type.
  virtual std::ostream& Output(std::ostream& out) const = 0;
  virtual ~pnum_cLetter();
};

/// The letter of a number of type `T`.
template <detail::ElementType T>
class pnum_cTypedNumber final : public pnum_cLetter {
 public:
  /// Holds `value`.
  explicit pnum_cTypedNumber(const T& value) noexcept : value_(value) {}

  dtyp_cDataType DataType() const noexcept override { return detail::DataTypeOf<T>; }
  std::unique_ptr<pnum_cLetter> Clone() const override { return std::make_unique<pnum_cTypedNumber>(*this); }
  const void* Data() const noexcept override { return &value_; }
  str_cString StringOut(int width, int precision) const override;
  std::ostream& Output(std::ostream& out) const override;

 private:
  T value_;
};

#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  DATASTORAGE_EXTERN(pnum_cTypedNumber<type>);
#include <DataStorage/interfaces/elementtypes.def>

/// A single number of any element type. It always holds a value; only assignment and `Convert` change the
/// type. The value is stored inside the object, so numbers are cheap to construct and to copy. Numbers have
/// no atoms in tagged streams.
class DATASTORAGE_EXPORT pnum_cNumber : public tgio_cTaggedStreamObject {
 public:
  /// A number of the element type that corresponds to the C++ type of `value`.
  pnum_cNumber(unsigned char value) noexcept { Store(value); }
  pnum_cNumber(unsigned short value) noexcept { Store(value); }
  pnum_cNumber(unsigned int value) noexcept { Store(value); }
  pnum_cNumber(char value) noexcept { Store(value); }
  pnum_cNumber(short value) noexcept { Store(value); }
  pnum_cNumber(int value) noexcept { Store(value); }
  pnum_cNumber(float value = 0) noexcept { Store(value); }
  pnum_cNumber(double value) noexcept { Store(value); }
  /// A complex number; a real one when the magnitude of the imaginary part is below the smallest normal
  /// number of its type.
  pnum_cNumber(const comp_cComplex<float>& value) noexcept { StoreComplex(value); }
  pnum_cNumber(const comp_cComplex<double>& value) noexcept { StoreComplex(value); }
  /// A zero of that type; throws `expt_cProgramException` when it is not an element type.
  pnum_cNumber(dtyp_cDataType type);
  pnum_cNumber(dtyp_eDataType type) : pnum_cNumber(dtyp_cDataType(type)) {}
  /// `value` converted to `type`. An integer type keeps the low bits of `value` truncated toward zero; the
  /// number is 0 when `value` exceeds 64 bits or is NaN. Throws `expt_cProgramException` when `type` is not
  /// an element type.
  pnum_cNumber(double value, dtyp_cDataType type);

  /// The type of the value.
  dtyp_cDataType DataType() const noexcept { return type_; }
  /// The size of the value in bytes.
  int SizeOf() const noexcept { return DataType().SizeOf(); }
  /// Whether the type is an integer or a float.
  type_cBoolean IsReal() const noexcept { return DataType().IsReal(); }
  /// Whether the type is complex, even if the imaginary part is zero.
  type_cBoolean IsComplex() const noexcept { return DataType().IsComplex(); }
  /// The address of the value in the C++ type of `DataType()`; valid until the number is changed.
  const void* Data() const noexcept { return value_; }

  /// Always 1: a number counts as an array with one element.
  int NumIndices() const noexcept { return 1; }
  /// Always 0.
  int Dimension() const noexcept { return 0; }

  /// The value as a double; the real part of a complex number.
  double Value() const noexcept {
    if (type_ == dtyp_Float64) return *static_cast<const double*>(Data());  // the most frequent type
    return detail::VisitElementType(type_, [this]<class T>(std::type_identity<T>) {
      const T& value = *static_cast<const T*>(Data());
      if constexpr (detail::FamilyOf<T> == detail::Family::Complex)
        return static_cast<double>(value.Real());
      else
        return static_cast<double>(value);
    });
  }
  /// `Value()` truncated toward zero; throws `expt_cUserException` when `Value()` is NaN or outside the range
  /// of `int`, as 2147483647.5 is.
  int Count() const;
  /// Converts the value to `type`. Throws `expt_cProgramException` and leaves the number unchanged when
  /// `type` is not an element type.
  void Convert(dtyp_cDataType type, conv_eComplexConversion conversion = conv_Real);

  /// The value as text; `width` and `precision` as for `str_cString`, applied to each part of a complex
  /// number.
  str_cString StringOut(int width, int precision) const;

  static const dtyp_cDataType tComplexNumber;  ///< the preferred type of complex values
  static const dtyp_cDataType tValueNumber;    ///< the preferred type of measured values
  static const dtyp_cDataType tCountNumber;    ///< the preferred type of counts

  /// Writes the value as a number, also that of a one-byte type.
  friend DATASTORAGE_EXPORT std::ostream& operator<<(std::ostream& out, const pnum_cNumber& number);

 private:
  template <class T>
  void Store(const T& value) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof value_);
    ::new (value_) T(value);
    type_ = detail::DataTypeOf<T>;
  }

  template <class T>
  void StoreComplex(const comp_cComplex<T>& value) noexcept {
    const bool real = -std::numeric_limits<T>::min() < value.Imaginary() &&
                      value.Imaginary() < std::numeric_limits<T>::min();
    real ? Store(value.Real()) : Store(value);
  }

  dtyp_eDataType type_ = dtyp_NoType;
  alignas(double) std::byte value_[sizeof(comp_cComplex<double>)];
};
