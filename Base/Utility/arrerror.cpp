#include <DataStorage/interfaces/arrerror.h>

namespace {

constexpr const char* container = "arr";

std::string Counted(std::int64_t n) { return std::to_string(n) + (n == 1 ? " element" : " elements"); }

std::string Pair(std::int64_t x, const char* between, std::int64_t y) {
  return std::to_string(x) + between + std::to_string(y);
}

str_cString SizeText(const std::string& size, bool negative) {
  return str_cString("size " + size + (negative ? " is negative" : " is too large"));
}

}  // namespace

arr_cIndexException::arr_cIndexException(const char* file, int line, const str_cString& text)
    : expt_cProgramException(file, line, text) {}

arr_cIndexException::~arr_cIndexException() = default;

arr_cSizeException::arr_cSizeException(const char* file, int line, const str_cString& text)
    : expt_cProgramException(file, line, text) {}

arr_cSizeException::~arr_cSizeException() = default;

void arr_IndexError(detail::CallLine line) { throw arr_cIndexException(container, line.number); }

void arr_IndexError(std::int64_t index, std::int64_t count, detail::CallLine line) {
  if (count < 0) detail::ThrowIndexError(SizeText(std::to_string(count), true), line);
  detail::ThrowIndexError(
      str_cString("index " + std::to_string(index) + " is outside an array of " + Counted(count)), line);
}

void arr_IndexError(std::int64_t start, std::int64_t end, std::int64_t count, detail::CallLine line) {
  const std::string what = end <= start ? " is empty" : " is outside an array of " + Counted(count);
  detail::ThrowIndexError(str_cString("index range " + Pair(start, " to ", end) + what), line);
}

void arr_IndexError(std::int64_t x, std::int64_t y, std::int64_t nx, std::int64_t ny, detail::CallLine line) {
  const std::string size = Pair(nx, " x ", ny) + " elements";
  detail::ThrowIndexError(str_cString("index (" + Pair(x, ", ", y) + ") is outside an array of " + size),
                          line);
}

void arr_SizeError(detail::CallLine line) { throw arr_cSizeException(container, line.number); }

void arr_SizeError(std::int64_t size, detail::CallLine line) {
  detail::ThrowSizeError(SizeText(std::to_string(size), size < 0), line);
}

void arr_SizeError(std::int64_t nx, std::int64_t ny, detail::CallLine line) {
  detail::ThrowSizeError(SizeText(Pair(nx, " x ", ny), nx < 0 || ny < 0), line);
}

namespace detail {

void ThrowIndexError(const str_cString& text, CallLine line) {
  throw arr_cIndexException(container, line.number, text);
}

void ThrowSizeError(const str_cString& text, CallLine line) {
  throw arr_cSizeException(container, line.number, text);
}

}  // namespace detail
