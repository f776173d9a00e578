#pragma once

/// @file
/// The ten types that elements of arrays can have.

#include <type_traits>

#include <DataStorage/interfaces/comp.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

/// The machine representation of an element. The values are persistent, and their order counts: unsigned
/// integers by width, signed integers by width, floats, complex types.
enum dtyp_eDataType : int {
  dtyp_NoType = 0,  ///< none of them
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) dtyp_##name = value,
#include <DataStorage/numbers/elementtypes.def>
};

/// An element type as a value: what it is called, how large it is, whether it is real or complex.
class DATASTORAGE_EXPORT dtyp_cDataType {
 public:
  /// Keeps any value; those outside 1 to 10 have size 0 and the name "No type".
  constexpr dtyp_cDataType(dtyp_eDataType type = dtyp_NoType) noexcept : type_(type) {}
  /// The type with exactly this long name, for example "8-byte float"; `dtyp_NoType` for any other text.
  dtyp_cDataType(str_cString name);

  /// As it was given.
  constexpr dtyp_eDataType Type() const noexcept { return type_; }

  /// Whether the types are the same.
  constexpr int operator==(const dtyp_cDataType& other) const noexcept { return type_ == other.type_; }
  constexpr int operator!=(const dtyp_cDataType& other) const noexcept { return type_ != other.type_; }

  /// Whether it is any other than `dtyp_NoType`.
  constexpr type_cBoolean HasDataType() const noexcept { return type_ != dtyp_NoType; }
  /// Integers and floats.
  constexpr type_cBoolean IsReal() const noexcept { return type_ >= dtyp_UBin8 && type_ <= dtyp_Float64; }
  /// The two complex types.
  constexpr type_cBoolean IsComplex() const noexcept {
    return type_ == dtyp_Complex64 || type_ == dtyp_Complex128;
  }
  /// Bytes of one element; 0 outside 1 to 10.
  constexpr int SizeOf() const noexcept;
  /// The long name.
  str_cString StringOut() const;

 private:
  dtyp_eDataType type_;
};

/// The type that can hold values of both. Integers of different signedness give a signed type as wide as the
/// wider one, so large unsigned values may not fit. `dtyp_NoType` and another type give the other type.
DATASTORAGE_EXPORT dtyp_cDataType dtyp_Max(const dtyp_cDataType& a, const dtyp_cDataType& b);

namespace detail {

/// The data type whose elements are of C++ type `T`, or `dtyp_NoType`.
template <class T>
inline constexpr dtyp_eDataType DataTypeOf = dtyp_NoType;
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  template <>                                                              \
  inline constexpr dtyp_eDataType DataTypeOf<type> = dtyp_##name;
#include <DataStorage/numbers/elementtypes.def>

template <class T>
concept ElementType = (DataTypeOf<T> != dtyp_NoType);

template <class... T>
struct TypeList {
  static constexpr int size = sizeof...(T);
  /// `Template` with these types as its arguments.
  template <template <class...> class Template>
  using Apply = Template<T...>;
};

template <class Ignored, class... T>  // takes the empty place in front of the first comma
using TypeListBehind = TypeList<T...>;

/// The C++ types of the elements, in the order of their data types.
using ElementTypes = TypeListBehind<void
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) , type
#include <DataStorage/numbers/elementtypes.def>
                                    >;

/// Chooses code by element type: calls `f` with `std::type_identity<T>`, T being the C++ type of the
/// elements, and returns its result. For a type outside 1 to 10 nothing is called and the result is a null
/// pointer, 0, false or whatever else stands for nothing. `f` returns the same type for every T.
template <class F>
constexpr auto VisitElementType(dtyp_eDataType type, F&& f) {
  using Result = std::invoke_result_t<F&, std::type_identity<unsigned char>>;
  switch (type) {
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  case dtyp_##name:                                                        \
    return f(std::type_identity<type>());
#include <DataStorage/numbers/elementtypes.def>
    default:
      return Result();
  }
}

/// The name of a type in ASCII streams, for example "float64"; the empty text outside 1 to 10.
const char* ShortName(dtyp_eDataType type);
/// `dtyp_NoType` for an unknown name.
dtyp_eDataType TypeOfShortName(const str_cString& name);

}  // namespace detail

constexpr int dtyp_cDataType::SizeOf() const noexcept {
  return detail::VisitElementType(type_,
                                  []<class T>(std::type_identity<T>) { return static_cast<int>(sizeof(T)); });
}
