#include "input.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

#include "failure.h"
#include "format.h"
#include "header.h"
#include <DataStorage/data/asciirw.h>
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

namespace {

std::string ReadWhole(const std::string& path) {
  std::string bytes;
  if (path == "-") {
    bytes.assign(std::istreambuf_iterator<char>(std::cin), {});
  } else {
    bstr_cBinary_fstream file = OpenToRead(path);
    bytes.resize(static_cast<std::size_t>(file.Input().Size()));
    if (!file.Input().Read(bytes.data(), static_cast<std::int64_t>(bytes.size()))) {
      Fail("{} cannot be read", path);
    }
  }
  return bytes;
}

/// The words of a text, with the places where they stand.
class Words {
 public:
  explicit Words(std::string_view text) : text_(text) {}

  /// Goes to the next word; false when there is none.
  bool Next() {
    start_ += word_.size();
    while (start_ < text_.size() && bSpace(text_[start_])) line_ += text_[start_++] == '\n';
    const auto first = text_.begin() + static_cast<std::ptrdiff_t>(start_);
    word_ = text_.substr(start_, static_cast<std::size_t>(std::find_if(first, text_.end(), bSpace) - first));
    return !word_.empty();
  }
  std::string_view Word() const { return word_; }
  std::size_t Start() const { return start_; }
  int Line() const { return line_; }
  /// False when the word is not a number from its first to its last character.
  bool Number(double& value) const {
    const std::string_view digits = word_.substr(word_.front() == '+' ? 1 : 0);
    const char* end = digits.data() + digits.size();
    value = 0;  // what from_chars leaves when a number is too small for a double
    return std::from_chars(digits.data(), end, value).ptr == end;
  }

 private:
  static bool bSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  std::string_view text_;
  std::string_view word_;
  std::size_t start_ = 0;
  int line_ = 1;
};

/// Looks after what the readers of columns pass over in silence: text behind the numbers, which ended at
/// `end`, a position without a value, and positions (where there are any) that are not what the first two of
/// them made of the array.
void CheckText(const std::string& path, std::string_view text, std::size_t end,
               const darr_c1DArray* positions, const Warn& warn) {
  Words words(text);
  std::int64_t count = 0;
  bool falling = false, warned = false;
  int line = 1;
  double number;
  for (; words.Next(); ++count) {
    line = words.Line();
    if (words.Start() >= end || !words.Number(number)) {
      Fail("{}: line {}: '{}' is not a number", path, words.Line(), words.Word().substr(0, 40));
    }
    if (positions == nullptr || count % 2 != 0 || warned) continue;
    if (count == 0) falling = number != positions->OffsetX();
    const auto row = static_cast<int>(count / 2);
    const int i = falling ? positions->NumIndices() - 1 - row : row;
    const double even = positions->Cal().PositionX(i);
    if (!(std::fabs(number - even) <= positions->DeltaX() / 2)) {
      warn(fmt::format("{}: line {}: the position {} lies more than half a step off the even grid, at {}",
                       path, words.Line(), words.Word(), NumberText(even)));
      warned = true;
    }
  }
  if (positions != nullptr && count % 2 != 0) {
    Fail("{}: line {}: there is a position without a value", path, line);
  }
}

darr_c1DArray ReadText(const std::string& path, const InputForm& form, const Warn& warn) {
  std::istringstream in(ReadWhole(path));
  const asrw_eFormat format = asrw_ASCII_Format(in);
  darr_c1DArray array;
  if (format == asrw_TwoColumn) {
    if (form.offset || form.delta) {
      Fail("{} has positions of its own; --offset and --delta are for data without them", path);
    }
    if (!asrw_ReadTwoColumn(in, array)) {
      Fail("{}: the first two lines must hold two numbers each, the first of them at different positions",
           path);
    }
  } else if (format == asrw_OneColumn) {
    parr_c1DNumberArray values;
    asrw_ReadOneColumn(in, values);  // text that it leaves is found below
    array = darr_c1DArray(values, cal_c1DArrayCal(form.offset.value_or(0), form.delta.value_or(1)));
  } else {
    Fail("{}: the first line must hold one number or two", path);
  }
  const std::string_view text = in.view();
  in.clear();
  CheckText(path, text, static_cast<std::size_t>(in.tellg()), format == asrw_TwoColumn ? &array : nullptr,
            warn);
  if (form.type) array.Convert(*form.type);
  return array;
}

/// An array out of elements as they stand in raw files: the raw form of arrays is the same behind its type
/// and count.
bool ReadElements(dtyp_cDataType type, int count, const void* elements, parr_c1DNumberArray& array) {
  bstr_cMemory_ostream raw;
  bstr_WriteFields(raw, static_cast<std::uint16_t>(type.Type()), std::int32_t{count});
  raw.Write(elements, std::int64_t{count} * type.SizeOf());
  bstr_cMemory_istream in(raw.Data(), raw.Size());
  return array.Read(in);
}

Input ReadRaw(const std::string& path, const InputForm& form) {
  const dtyp_cDataType type = form.type.value_or(dtyp_Float32);
  const auto size = static_cast<std::size_t>(type.SizeOf());
  const auto elements = static_cast<std::size_t>(form.raw_elements);
  const auto bytes = std::make_shared<const std::string>(ReadWhole(path));
  if (bytes->empty() || bytes->size() % (elements * size) != 0) {
    Fail("{}: {} bytes are no whole number of data with {} elements of {} bytes", path, bytes->size(),
         elements, size);
  }
  const std::size_t count = bytes->size() / (elements * size);
  if (count > static_cast<std::size_t>(std::numeric_limits<int>::max())) Fail("{} holds too many data", path);

  const std::size_t step = form.interleaved ? count : 1;
  const cal_c1DArrayCal cal(form.offset.value_or(0), form.delta.value_or(1));
  std::string datum(elements * size, '\0');
  return {static_cast<int>(count), [=](int i) mutable {
            const std::size_t first = static_cast<std::size_t>(i) * (form.interleaved ? 1 : elements);
            for (std::size_t k = 0; k < elements; ++k) {
              bytes->copy(datum.data() + k * size, size, (first + k * step) * size);
            }
            parr_c1DNumberArray numbers;
            ReadElements(type, static_cast<int>(elements), datum.data(), numbers);
            return darr_c1DArray(numbers, cal);
          }};
}

}  // namespace

bool bCanBeStored(dtyp_cDataType type) {
  parr_c1DNumberArray array;
  return ReadElements(type, 0, nullptr, array);
}

Input ReadInput(const std::string& path, const InputForm& form, const Warn& warn) {
  if (form.raw_elements > 0) return ReadRaw(path, form);
  return {1, [array = ReadText(path, form, warn)](int) { return array; }};
}

}  // namespace dseries
