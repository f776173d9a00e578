#include "input.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <limits>
#include <memory>
#include <sstream>
#include <string_view>
#include <type_traits>
#include <utility>

#include "failure.h"
#include "files.h"
#include "format.h"
#include "picture.h"
#include "plane.h"
#include <DataStorage/data/asciirw.h>
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

namespace {

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

/// How many axes arrays of this class have.
template <class Array>
constexpr std::size_t axes = std::is_same_v<Array, darr_c2DArray> ? 2 : 1;

/// The calibration of an array that does not tell its positions.
template <class Array>
auto CalibrationOf(const InputForm& form) {
  const auto axis = [&form](std::size_t i) {
    return cal_cArrayCal(form.offset.empty() ? 0 : form.offset[i], form.delta.empty() ? 1 : form.delta[i]);
  };
  if constexpr (axes<Array> == 2) {
    return cal_c2DArrayCal(axis(0), axis(1));
  } else {
    return cal_c1DArrayCal(axis(0));
  }
}

darr_c1DArray ReadText(const std::string& path, const InputForm& form, const Warn& warn) {
  std::istringstream in(ReadWhole(path));
  const asrw_eFormat format = asrw_ASCII_Format(in);
  darr_c1DArray array;
  if (format == asrw_TwoColumn) {
    if (!form.offset.empty() || !form.delta.empty()) {
      Fail("{} has positions of its own; --offset and --delta are for data without them", path);
    }
    if (!asrw_ReadTwoColumn(in, array)) {
      Fail("{}: the first two lines must hold two numbers each, the first of them at different positions",
           path);
    }
  } else if (format == asrw_OneColumn) {
    parr_c1DNumberArray values;
    asrw_ReadOneColumn(in, values);  // text that it leaves is found below
    array = darr_c1DArray(values, CalibrationOf<darr_c1DArray>(form));
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

/// An array out of elements as they stand in raw files: the raw form of arrays is the same behind their type
/// and extents.
template <class Numbers>
bool ReadElements(dtyp_cDataType type, const std::vector<int>& extents, const std::string& elements,
                  Numbers& array) {
  bstr_cMemory_ostream raw;
  bstr_WriteFields(raw, static_cast<std::uint16_t>(type.Type()));
  for (const int extent : extents) bstr_WriteFields(raw, std::int32_t{extent});
  raw.Write(elements.data(), static_cast<std::int64_t>(elements.size()));
  bstr_cMemory_istream in(raw.Data(), raw.Size());
  return array.Read(in);
}

template <class Array>
Input<Array> ReadRaw(const std::string& path, const InputForm& form) {
  const dtyp_cDataType type = form.type.value_or(dtyp_Float32);
  const auto size = static_cast<std::size_t>(type.SizeOf());
  std::size_t elements = 1;
  for (const int extent : form.raw) elements *= static_cast<std::size_t>(extent);
  const auto bytes = std::make_shared<const std::string>(ReadWhole(path));
  if (bytes->empty() || elements > bytes->size() || bytes->size() % (elements * size) != 0) {
    Fail("{}: {} bytes are no whole number of data with {} elements of {} bytes", path, bytes->size(),
         fmt::join(form.raw, " x "), size);
  }
  const std::size_t count = bytes->size() / (elements * size);
  if (count > static_cast<std::size_t>(std::numeric_limits<int>::max())) Fail("{} holds too many data", path);

  const std::size_t step = form.interleaved ? count : 1;
  const auto cal = CalibrationOf<Array>(form);
  return {static_cast<int>(count), [=, extents = form.raw, interleaved = form.interleaved](int i) {
            const std::size_t first = static_cast<std::size_t>(i) * (interleaved ? 1 : elements);
            std::string datum(elements * size, '\0');
            for (std::size_t k = 0; k < elements; ++k) {
              bytes->copy(datum.data() + k * size, size, (first + k * step) * size);
            }
            std::conditional_t<axes<Array> == 2, parr_c2DNumberArray, parr_c1DNumberArray> numbers;
            ReadElements(type, extents, datum, numbers);
            return Array(numbers, cal);
          }};
}

}  // namespace

void AddCalibration(CLI::App& command, InputForm& form) {
  command
      .add_option("--offset", form.offset,
                  "Position of the first element along each axis, where the input has no positions; of a "
                  "picture that is the bottom left one")
      ->type_name("X[,Y]")
      ->delimiter(',')
      ->allow_extra_args(false);
  command.add_option("--delta", form.delta, "Distance of the elements along each axis, likewise")
      ->type_name("DX[,DY]")
      ->delimiter(',')
      ->allow_extra_args(false);
}

void CheckStorable(dtyp_cDataType type) {
  if (parr_c1DNumberArray array; !ReadElements(type, {0}, "", array)) {
    Fail("elements of type {} cannot be read back from a series file", ElementName(type));
  }
}

void CheckForm(const InputForm& form, std::size_t axes) {
  const auto check_count = [axes](const char* option, std::size_t given) {
    if (given != 0 && given != axes) {
      Fail("{} takes {} here, one for each axis of the data", option,
           Count(static_cast<std::int64_t>(axes), "number", "numbers"));
    }
  };
  check_count("--raw", form.raw.size());
  check_count("--offset", form.offset.size());
  check_count("--delta", form.delta.size());
  if (form.type) CheckStorable(*form.type);
  for (const double offset : form.offset) {
    if (!std::isfinite(offset)) Fail("the offset is not finite");
  }
  for (const double delta : form.delta) {
    if (!(std::isfinite(delta) && delta > 0)) Fail("the delta is not above 0");
  }
}

darr_c2DArray ReadPlane(const std::string& path, const InputForm& form) {
  darr_c2DArray array;
  if (!bRawPlane(path)) {
    array = darr_c2DArray(ReadPicture(path), CalibrationOf<darr_c2DArray>(form));
  } else if (form.offset.empty() && form.delta.empty()) {
    array = ReadRawPlane(path);
  } else {
    Fail("{} has positions of its own; --offset and --delta are for data without them", path);
  }
  if (form.type) array.Convert(*form.type);
  return array;
}

template <class Array>
Input<Array> ReadInput(const std::string& path, const InputForm& form, const Warn& warn) {
  if (!form.raw.empty()) return ReadRaw<Array>(path, form);
  if constexpr (axes<Array> == 2) {
    return {1, [array = ReadPlane(path, form)](int) { return array; }};
  } else {
    return {1, [array = ReadText(path, form, warn)](int) { return array; }};
  }
}

template Input<darr_c1DArray> ReadInput(const std::string&, const InputForm&, const Warn&);
template Input<darr_c2DArray> ReadInput(const std::string&, const InputForm&, const Warn&);

}  // namespace dseries
