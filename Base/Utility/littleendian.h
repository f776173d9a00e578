#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

// Numbers as streams hold them: little end first on every host. Compilers make plain moves of the loops.

namespace detail {

template <std::unsigned_integral T>
constexpr void StoreLittleEndian(char* bytes, T value) noexcept {
  for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<char>(value >> (8 * i));
}

template <std::unsigned_integral T>
constexpr T LoadLittleEndian(const char* bytes) noexcept {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<T>(value | (T{static_cast<unsigned char>(bytes[i])} << (8 * i)));
  }
  return value;
}

}  // namespace detail
