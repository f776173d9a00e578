#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include <DataStorage/interfaces/comp.h>

/// What the list of element types says, for code that runs over the types or asks what kind of type one is.
namespace detail {

/// C++ types in an order.
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

/// Drops the empty place in front of the first comma.
template <class Ignored, class... T>
using TypeListBehind = TypeList<T...>;

/// The C++ types of the elements, in the order of their data types.
using ElementTypes = TypeListBehind<void
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) , type
#include <DataStorage/interfaces/elementtypes.def>
                                    >;

/// The kinds of elements. The order counts: the common type of two types is of the later family. The values
/// are persistent: stream forms of arrays hold them.
enum class Family : std::uint8_t { Unsigned = 0, Signed = 1, Float = 2, Complex = 3 };

/// The family of a type of the list.
template <class T>
inline constexpr Family FamilyOf = !std::numeric_limits<T>::is_integer ? Family::Float
                                   : std::numeric_limits<T>::is_signed ? Family::Signed
                                                                       : Family::Unsigned;
template <class T>
inline constexpr Family FamilyOf<comp_cComplex<T>> = Family::Complex;

}  // namespace detail
