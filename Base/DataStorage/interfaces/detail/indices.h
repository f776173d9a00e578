#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

/// Indices and counts of elements of which no bits are lost.
namespace detail {

/// The integer types whose values an int need not hold.
template <class T>
concept WideInteger = std::integral<T> && sizeof(T) >= sizeof(int) && !std::same_as<T, int>;

/// A pair of integer types, one of them such a type.
template <class Y, class X>
concept WideWith = std::integral<X> && std::integral<Y> &&(WideInteger<X> || WideInteger<Y>);

/// An index of any integer type; beyond 64 bits the largest, which no array has either.
template <std::integral T>
constexpr std::int64_t WideIndex(T i) noexcept {
  if constexpr (std::is_unsigned_v<T> && sizeof(T) >= sizeof(std::int64_t)) {
    if (i > T{std::numeric_limits<std::int64_t>::max()}) return std::numeric_limits<std::int64_t>::max();
  }
  return static_cast<std::int64_t>(i);
}

/// Arithmetic on indices and their counts: results beyond the range of int become its nearest end, so that a
/// count that overflows is refused as too large instead of passing for a small one.
constexpr int LimitToInt(long long value) noexcept {
  constexpr long long low = std::numeric_limits<int>::min(), high = std::numeric_limits<int>::max();
  return static_cast<int>(value < low ? low : value > high ? high : value);
}
constexpr int AddIndices(int a, int b) noexcept { return LimitToInt(static_cast<long long>(a) + b); }
constexpr int SubtractIndices(int a, int b) noexcept { return LimitToInt(static_cast<long long>(a) - b); }

}  // namespace detail
