#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <DataStorage/interfaces/export.h>

/// @file
/// Blocks of plain elements: taking, copying and filling them.

/// Copies `count` elements of `size` bytes; the blocks must not overlap. Nothing happens for a count of 0 or
/// less.
inline void lgar_memcpy(void* dst, const void* src, std::int64_t count, std::size_t size) noexcept {
  if (count > 0) std::memcpy(dst, src, static_cast<std::size_t>(count) * size);
}

/// Sets `count` elements of `size` bytes each to the one at `value`, which must not lie among them.
inline void lgar_memset(void* dst, const void* value, std::int64_t count, std::size_t size) noexcept {
  auto* bytes = static_cast<unsigned char*>(dst);
  for (std::int64_t i = 0; i < count; ++i, bytes += size) std::memcpy(bytes, value, size);
}

/// Takes a block for array elements: not filled, aligned for every plain type, in huge pages where the system
/// has them and the block is large. Goes back with `lgar_FreeBlock` and the same size. Throws
/// `std::bad_alloc`.
DATASTORAGE_EXPORT void* lgar_AllocateBlock(std::size_t bytes);
DATASTORAGE_EXPORT void lgar_FreeBlock(void* block, std::size_t bytes) noexcept;
