#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <DataStorage/interfaces/comp.h>

/// Numbers as files and streams hold them: little-endian on every host.
namespace detail {

/// The size of the words whose bytes are swapped: a number is one word, a complex number two.
template <class T>
inline constexpr std::size_t WordSize = sizeof(T);
template <class T>
inline constexpr std::size_t WordSize<comp_cComplex<T>> = sizeof(T);

/// Whether the host holds numbers of type `T` as files do.
template <class T>
inline constexpr bool bLittleEndian = std::endian::native == std::endian::little || WordSize<T> == 1;

/// Converts `n` numbers from the host's byte order into little-endian, or back.
template <class T>
void SwapToLittleEndian(T* values, std::int64_t n) noexcept {
  static_assert(std::is_trivially_copyable_v<T>);
  if constexpr (!bLittleEndian<T>) {
    auto* bytes = reinterpret_cast<unsigned char*>(values);
    auto* end = bytes + static_cast<std::size_t>(n) * sizeof(T);
    for (; bytes != end; bytes += WordSize<T>) std::reverse(bytes, bytes + WordSize<T>);
  }
}

template <class T>
void StoreLittleEndian(void* bytes, T value) noexcept {
  SwapToLittleEndian(&value, 1);
  std::memcpy(bytes, &value, sizeof value);
}

template <class T>
T LoadLittleEndian(const void* bytes) noexcept {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  SwapToLittleEndian(&value, 1);
  return value;
}

}  // namespace detail
