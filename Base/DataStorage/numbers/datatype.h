#pragma once

/// @file
/// The types of array elements.

#include <type_traits>

#include <DataStorage/interfaces/comp.h>
#include <DataStorage/interfaces/elementtypes.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

/// The machine representation of an element. The values are persistent.
enum dtyp_eDataType : int {
  dtyp_NoType = 0,  ///< no element type
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) dtyp_##name = value,
#include <DataStorage/interfaces/elementtypes.def>
};

/// An element type: its name, its size, whether it is real or complex.
class DATASTORAGE_EXPORT dtyp_cDataType {
 public:
  /// Holds any value, even one outside the enumeration.
  constexpr dtyp_cDataType(dtyp_eDataType type = dtyp_NoType) noexcept : type_(type) {}
  /// The type with exactly this long name, for example "8-byte float"; `dtyp_NoType` for any other text.
  dtyp_cDataType(str_cString name);

  /// The value given on construction.
  constexpr dtyp_eDataType Type() const noexcept { return type_; }

  /// Whether the types are the same.
  constexpr int operator==(const dtyp_cDataType& other) const noexcept { return type_ == other.type_; }
  /// Whether the types differ.
  constexpr int operator!=(const dtyp_cDataType& other) const noexcept { return type_ != other.type_; }

  /// Whether it is not `dtyp_NoType`.
  constexpr type_cBoolean HasDataType() const noexcept { return type_ != dtyp_NoType; }
  /// Whether it is an integer or a float type.
  constexpr type_cBoolean IsReal() const noexcept { return SizeOf() > 0 && !IsComplex(); }
  /// Whether it is a complex type.
  constexpr type_cBoolean IsComplex() const noexcept;
  /// The size of one element in bytes; 0 when it is not an element type.
  constexpr int SizeOf() const noexcept;
  /// The long name; "No type" when it is not an element type.
  str_cString StringOut() const;

 private:
  dtyp_eDataType type_;
};

/// The common type of two types. Integers of different signedness give a signed type as wide as the wider
/// one, so large unsigned values may not fit. `dtyp_NoType` and another type give the other type.
DATASTORAGE_EXPORT dtyp_cDataType dtyp_Max(const dtyp_cDataType& a, const dtyp_cDataType& b);

namespace detail {

/// The data type whose elements are of C++ type `T`, or `dtyp_NoType`.
template <class T>
inline constexpr dtyp_eDataType DataTypeOf = dtyp_NoType;
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  template <>                                                              \
  inline constexpr dtyp_eDataType DataTypeOf<type> = dtyp_##name;
#include <DataStorage/interfaces/elementtypes.def>

template <class T>
concept ElementType = (DataTypeOf<T> != dtyp_NoType);

/// Calls `f` with `std::type_identity<T>`, T being the C++ type of the elements, and returns its result.
/// Requires that the result has the same type for every T. Returns a value-initialised result (null, 0,
/// false) when `type` is not an element type.
template <class F>
constexpr auto VisitElementType(dtyp_eDataType type, F&& f) {
  using Result = std::invoke_result_t<F&, std::type_identity<unsigned char>>;
  switch (type) {
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  case dtyp_##name:                                                        \
    return f(std::type_identity<type>());
#include <DataStorage/interfaces/elementtypes.def>
    default:
      return Result();
  }
}

/// The name of a type in ASCII streams, for example "float64"; the empty text when it is not an element type.
const char* ShortName(dtyp_eDataType type);
/// The type of that name in ASCII streams; `dtyp_NoType` for an unknown name.
dtyp_eDataType TypeOfShortName(const str_cString& name);

}  // namespace detail

constexpr type_cBoolean dtyp_cDataType::IsComplex() const noexcept {
  return detail::VisitElementType(
      type_, []<class T>(std::type_identity<T>) { return detail::FamilyOf<T> == detail::Family::Complex; });
}

constexpr int dtyp_cDataType::SizeOf() const noexcept {
  return detail::VisitElementType(type_,
                                  []<class T>(std::type_identity<T>) { return static_cast<int>(sizeof(T)); });
}
