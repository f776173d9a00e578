#pragma once

#include <climits>
#include <limits>

#include <DataStorage/interfaces/export.h>

/// A truth value of one byte, as streams and files hold flags. Converts from and to `bool`.
class DATASTORAGE_EXPORT type_cBoolean {
 public:
  /// Both conversions keep the truth value.
  constexpr type_cBoolean(bool value = false) noexcept : value_(value ? 1 : 0) {}
  constexpr operator bool() const noexcept { return value_ != 0; }

 private:
  unsigned char value_;  // 0 or 1; any other byte, read from elsewhere, counts as true
};

// What the formats and the element types assume about the platform.
static_assert(sizeof(type_cBoolean) == 1);
static_assert(CHAR_BIT == 8 && std::numeric_limits<char>::is_signed, "plain char is the signed 8-bit type");
static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(long) >= 4);
static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4);
static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);
