#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <DataStorage/interfaces/export.h>

/// @file
/// Blocks of plain elements: allocating, copying and filling them.

/// Copies `count` elements of `size` bytes each; does nothing for a count of 0 or less. Requires that the
/// blocks do not overlap.
inline void lgar_memcpy(void* dst, const void* src, std::int64_t count, std::size_t size) noexcept {
  if (count > 0) std::memcpy(dst, src, static_cast<std::size_t>(count) * size);
}

/// Sets `count` elements of `size` bytes each to the one at `value`. Requires that `value` is not among them.
inline void lgar_memset(void* dst, const void* value, std::int64_t count, std::size_t size) noexcept {
  auto* bytes = static_cast<unsigned char*>(dst);
  for (std::int64_t i = 0; i < count; ++i, bytes += size) std::memcpy(bytes, value, size);
}

/// Allocates an uninitialised block for array elements, aligned for every plain type; a large one in huge
/// pages where the system has them. Throws `std::bad_alloc`. Requires `lgar_FreeBlock` with the same size to
/// free it.
DATASTORAGE_EXPORT void* lgar_AllocateBlock(std::size_t bytes);
DATASTORAGE_EXPORT void lgar_FreeBlock(void* block, std::size_t bytes) noexcept;
