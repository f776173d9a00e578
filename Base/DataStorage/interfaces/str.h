#pragma once

#include <string>
#include <string_view>

#include <DataStorage/interfaces/export.h>

/// A text, held by value. The characters are bytes of any value, zero bytes included; no encoding is assumed
/// and the process locale is never used. Distinct objects may be used from different threads; one object, or
/// copies that share elements, from one thread at a time.
class DATASTORAGE_EXPORT str_cString {
 public:
  str_cString() = default;
  /// The characters up to the terminating zero; a null pointer gives the empty text.
  str_cString(const char* text);
  /// `length` characters, which may hold any byte. A negative length gives the empty text.
  str_cString(const char* characters, int length);
  /// The characters of the view, zero bytes included.
  explicit str_cString(std::string_view text) : text_(text) {}

  /// `value` in decimal with at least `precision` digits (with leading zeros), right-aligned in at least
  /// `width` characters.
  str_cString(int value, int width, int precision);
  str_cString(unsigned int value, int width, int precision);
  /// `value` with `precision` significant digits (0 or less: the shortest text that reads back to the same
  /// value), right-aligned in at least `width` characters. Large and small magnitudes get an exponent; values
  /// that are not finite give "nan", "inf" or "-inf".
  str_cString(double value, int width, int precision);

  /// Zero-terminated characters, valid until the next non-const call on this object.
  const char* CString() const noexcept { return text_.c_str(); }
  /// The length in bytes, without the terminating zero.
  int Length() const noexcept { return static_cast<int>(text_.size()); }
  /// A view of the characters, valid as long as `CString()`.
  explicit operator std::string_view() const noexcept { return text_; }

  /// Exact comparison; a null pointer counts as the empty text.
  int operator==(const char* other) const noexcept { return text_ == (other != nullptr ? other : ""); }
  int operator==(const str_cString& other) const noexcept { return text_ == other.text_; }
  int operator!=(const char* other) const noexcept { return !(*this == other); }
  int operator!=(const str_cString& other) const noexcept { return text_ != other.text_; }

  /// Concatenates both; a null pointer counts as the empty text.
  DATASTORAGE_EXPORT friend str_cString operator+(const str_cString& a, const str_cString& b);
  DATASTORAGE_EXPORT friend str_cString operator+(const str_cString& a, const char* b);
  DATASTORAGE_EXPORT friend str_cString operator+(const char* a, const str_cString& b);

  static const str_cString Null;  ///< the empty text

 private:
  std::string text_;
};
