#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <DataStorage/interfaces/str.h>

// Before the statics of all other files, which may use it; not every compiler initialises it when it
// compiles.
[[gnu::init_priority(101)]] const str_cString str_cString::Null;

namespace {

std::string RightAligned(std::string_view sign, std::string_view digits, std::size_t zeros, int width) {
  std::string text;
  const std::size_t length = sign.size() + zeros + digits.size();
  if (width > 0 && static_cast<std::size_t>(width) > length) {
    text.append(static_cast<std::size_t>(width) - length, ' ');
  }
  return text.append(sign).append(zeros, '0').append(digits);
}

std::string Integer(bool negative, unsigned int magnitude, int width, int precision) {
  std::array<char, 16> buffer;
  const auto end = std::to_chars(buffer.begin(), buffer.end(), magnitude).ptr;
  const auto length = static_cast<int>(end - buffer.begin());
  const auto zeros = static_cast<std::size_t>(std::max(precision, length) - length);
  return RightAligned(negative ? "-" : "", {buffer.begin(), end}, zeros, width);
}

std::string Real(double value, int width, int precision) {
  if (std::isnan(value)) return RightAligned("", "nan", 0, width);  // its sign depends on the processor
  constexpr int ExactDigits = 767;                                  // no double has more significant digits
  std::array<char, ExactDigits + 16> buffer;
  const auto end = precision > 0 ? std::to_chars(buffer.begin(), buffer.end(), value,
                                                 std::chars_format::general, std::min(precision, ExactDigits))
                                       .ptr
                                 : std::to_chars(buffer.begin(), buffer.end(), value).ptr;
  return RightAligned("", {buffer.begin(), end}, 0, width);
}

}  // namespace

str_cString::str_cString(const char* text) : text_(text != nullptr ? text : "") {}

str_cString::str_cString(const char* characters, int length) {
  if (characters != nullptr && length > 0) text_.assign(characters, static_cast<std::size_t>(length));
}

str_cString::str_cString(int value, int width, int precision)
    : text_(Integer(value < 0,
                    value < 0 ? 0U - static_cast<unsigned int>(value) : static_cast<unsigned int>(value),
                    width, precision)) {}

str_cString::str_cString(unsigned int value, int width, int precision)
    : text_(Integer(false, value, width, precision)) {}

str_cString::str_cString(double value, int width, int precision) : text_(Real(value, width, precision)) {}

str_cString operator+(const str_cString& a, const str_cString& b) {
  str_cString sum = a;
  sum.text_ += b.text_;
  return sum;
}

str_cString operator+(const str_cString& a, const char* b) { return a + str_cString(b); }
str_cString operator+(const char* a, const str_cString& b) { return str_cString(a) + b; }
