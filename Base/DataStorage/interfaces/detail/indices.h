#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

/// Arithmetic on indices and counts that does not overflow or lose bits.
namespace detail {

/// The integer types with values that may not fit an int.
template <class T>
concept WideInteger = std::integral<T> && sizeof(T) >= sizeof(int) && !std::same_as<T, int>;

/// Two integer types, at least one of them wide.
template <class Y, class X>
concept WideWith = std::integral<X> && std::integral<Y> &&(WideInteger<X> || WideInteger<Y>);

/// An index of any integer type; values beyond 64 signed bits become the largest one, which no array has.
template <std::integral T>
constexpr std::int64_t WideIndex(T i) noexcept {
  if constexpr (std::is_unsigned_v<T> && sizeof(T) >= sizeof(std::int64_t)) {
    if (i > T{std::numeric_limits<std::int64_t>::max()}) return std::numeric_limits<std::int64_t>::max();
  }
  return static_cast<std::int64_t>(i);
}

/// Arithmetic on indices and their counts: results outside the range of int become its nearest limit, so that
/// an overflowing count is rejected as too large instead of wrapping to a small one.
constexpr int LimitToInt(long long value) noexcept {
  constexpr long long low = std::numeric_limits<int>::min(), high = std::numeric_limits<int>::max();
  return static_cast<int>(value < low ? low : value > high ? high : value);
}
constexpr int AddIndices(int a, int b) noexcept { return LimitToInt(static_cast<long long>(a) + b); }
constexpr int SubtractIndices(int a, int b) noexcept { return LimitToInt(static_cast<long long>(a) - b); }

}  // namespace detail
