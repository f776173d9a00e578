#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include <DataStorage/interfaces/comp.h>

/// The list of element types as C++ types, for code that iterates over them or depends on their family.
namespace detail {

/// An ordered list of C++ types.
template <class... T>
struct TypeList {
  static constexpr int size = sizeof...(T);  ///< the number of types
  /// `Template` with these types as its arguments.
  template <template <class...> class Template>
  using Apply = Template<T...>;
  /// Calls `f` with `std::type_identity<T>` for each of them.
  template <class F>
  static constexpr void ForEach(F f) {
    (f(std::type_identity<T>()), ...);
  }
};

/// Drops the placeholder before the first comma.
template <class Ignored, class... T>
using TypeListBehind = TypeList<T...>;

/// The C++ types of the elements, in the order of their data types.
using ElementTypes = TypeListBehind<void
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) , type
#include <DataStorage/interfaces/elementtypes.def>
                                    >;

/// The families of element types. The order matters: the common type of two types has the later family. The
/// values are persistent: arrays in streams hold them.
enum class Family : std::uint8_t { Unsigned = 0, Signed = 1, Float = 2, Complex = 3 };

/// The family of an element type.
template <class T>
inline constexpr Family FamilyOf = !std::numeric_limits<T>::is_integer ? Family::Float
                                   : std::numeric_limits<T>::is_signed ? Family::Signed
                                                                       : Family::Unsigned;
template <class T>
inline constexpr Family FamilyOf<comp_cComplex<T>> = Family::Complex;

}  // namespace detail
