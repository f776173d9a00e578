#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <string_view>
#include <utility>
#include <vector>

#include <DataStorage/data/asciirw.h>
#include <DataStorage/interfaces/constants.h>

namespace {

constexpr bool bSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

const char* SkipSpace(const char* text, const char* end) { return std::find_if_not(text, end, bSpace); }

/// Whether a number that is out of the range of doubles is too small for them rather than too large: whether
/// the exponent leaves its first digit other than 0 behind the decimal point. Parsing as a `long double`
/// would not say it on every platform.
bool bTooSmall(const char* text, const char* end) {
  std::int64_t digits_before_point = 0;
  bool significant = false, behind_point = false;
  for (; text != end && *text != 'e' && *text != 'E'; ++text) {
    if (*text == '.') behind_point = true;
    if (*text < '0' || *text > '9') continue;
    significant = significant || *text != '0';
    if (significant != behind_point) digits_before_point += significant ? 1 : -1;
  }
  if (text != end) ++text;
  if (text != end && *text == '+') ++text;
  std::int64_t exponent = 0;
  const bool huge = std::from_chars(text, end, exponent).ec == std::errc::result_out_of_range;
  return huge ? *text == '-' : exponent < -digits_before_point;
}

/// Reads the number at the start of a text. Returns the end of the number, or `text` when there is none.
const char* ParseNumber(const char* text, const char* end, double& value) {
  const char* digits = text != end && *text == '+' ? text + 1 : text;
  if (digits != text && digits != end && *digits == '-') return text;
  auto [stop, error] = std::from_chars(digits, end, value);
  if (error == std::errc::result_out_of_range) {
    if (!bTooSmall(digits, stop)) return text;
    value = *digits == '-' ? -0.0 : 0.0;
    return stop;
  }
  return error == std::errc() ? stop : text;
}

/// Whether a value that was read counts as a number: infinity and not-a-number only do as whole words,
/// because other words begin with them. `spaced` is whether the value follows white space or the start of the
/// text, `stop` is its end.
bool bNumber(double value, bool spaced, const char* stop, const char* end) {
  return std::isfinite(value) || (spaced && (stop == end || bSpace(*stop)));
}

/// Moves back to where `text` was read; false when something else stands there. The positions of a file that
/// Windows has opened as text do not count its characters, and data would be skipped or read twice unnoticed.
bool bMovedBack(std::istream& in, std::istream::pos_type position, std::string_view text) {
  std::array<char, 79> found;
  text = text.substr(0, found.size());
  in.clear();
  in.seekg(position);
  const auto n = in.rdbuf()->sgetn(found.data(), std::ssize(text));
  const bool same = std::string_view(found.data(), static_cast<std::size_t>(n)) == text;
  in.seekg(position);
  return same;
}

/// Reads numbers from a stream, block by block, and leaves the stream after the last one.
class NumberReader {
 public:
  explicit NumberReader(std::istream& in) : in_(in), start_(in.tellg()), buffer_(block_size) { Fill(); }

  /// Reads the next number; false at the end of the text and before text that is not a number.
  bool Next(double& value) {
    const char* const last = std::exchange(cursor_, SkipSpace(cursor_, end_));
    const bool spaced = cursor_ != last || last == buffer_.data();  // the start of the text
    // A number near the end of the block may continue in the next one.
    const char* stop = ParseNumber(cursor_, end_, value);
    while (!complete_ && end_ - stop < longest_rest) {
      Fill();
      cursor_ = SkipSpace(cursor_, end_);
      stop = ParseNumber(cursor_, end_, value);
    }
    failed_ = stop == cursor_ || !bNumber(value, spaced, stop, end_);
    if (!failed_) cursor_ = stop;
    return !failed_;
  }

  /// Leaves the stream after the last number, or at the text that is not a number, as formatted reads do.
  void Finish() {
    const auto read = passed_ + static_cast<std::size_t>(cursor_ - buffer_.data());
    bool moved = true;
    if (cursor_ == end_) {
      in_.clear();
      in_.seekg(0, std::ios::end);
    } else {
      moved = bMovedBack(in_, start_ + static_cast<std::streamoff>(read), {cursor_, end_});
    }
    in_.setstate((cursor_ == end_ ? std::ios::eofbit : std::ios::goodbit) |
                 (failed_ ? std::ios::failbit : std::ios::goodbit) |
                 (moved ? std::ios::goodbit : std::ios::badbit));
  }

 private:
  static constexpr std::size_t block_size = 65536;
  static constexpr std::ptrdiff_t longest_rest = 64;

  /// Appends a block to the unread rest of the last one. It is at least as long as the rest, so that a number
  /// of very many digits is not parsed too often.
  void Fill() {
    const auto rest = static_cast<std::size_t>(end_ - cursor_);
    const std::size_t wanted = std::max(block_size, rest);
    passed_ += static_cast<std::size_t>(cursor_ - buffer_.data());
    std::memmove(buffer_.data(), cursor_, rest);
    if (buffer_.size() < rest + wanted) buffer_.resize(rest + wanted);
    const std::streamsize read =
        in_.rdbuf()->sgetn(buffer_.data() + rest, static_cast<std::streamsize>(wanted));
    complete_ = read < static_cast<std::streamsize>(wanted);
    cursor_ = buffer_.data();
    end_ = cursor_ + rest + read;
  }

  std::istream& in_;
  std::istream::pos_type start_;
  std::vector<char> buffer_;
  const char* cursor_ = buffer_.data();  // the next character
  const char* end_ = buffer_.data();     // the end of the characters read
  std::size_t passed_ = 0;               // characters before the buffer
  bool complete_ = false;                // the whole stream has been read
  bool failed_ = false;                  // the text at the cursor is not a number
};

arr_c1DNumberArray<double> ArrayOf(const std::vector<double>& values) {
  return arr_c1DNumberArray<double>(
      static_cast<int>(detail::CheckedCount(static_cast<std::int64_t>(values.size()))), values.data());
}

/// Writes numbers as `out << number` does, but faster when the stream has its default format.
class LineWriter {
 public:
  LineWriter(std::ostream& out, int precision, int flags) : out_(out) {
    out.precision(precision);
    out.setf(static_cast<std::ios::fmtflags>(flags));
    const auto special = std::ios::floatfield | std::ios::showpoint | std::ios::showpos |
                         std::ios::uppercase | std::ios::unitbuf;
    const auto base = out.flags() & std::ios::basefield;
    plain_ = (out.flags() & special) == 0 && (base == std::ios::dec || base == 0) && out.width() == 0 &&
             precision >= 0 && precision <= max_precision && out.getloc() == std::locale::classic();
  }

  template <class T>
  void Write(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
      if (plain_) {
        end_ = std::to_chars(end_, line_.data() + line_.size(), static_cast<double>(value),
                             std::chars_format::general, static_cast<int>(out_.precision()))
                   .ptr;
        return;
      }
    } else if constexpr (std::is_integral_v<T>) {
      if (plain_) {
        end_ = std::to_chars(end_, line_.data() + line_.size(), static_cast<long long>(value)).ptr;
        return;
      }
    }
    Flush();
    out_ << pnum_cNumber(value);
  }
  void Put(char c) { *end_++ = c; }
  void EndLine() {
    Put('\n');
    Flush();
    out_.flush();
  }
  bool bGood() const { return out_.good(); }

 private:
  static constexpr int max_precision = 40;

  void Flush() {
    out_.write(line_.data(), end_ - line_.data());
    end_ = line_.data();
  }

  std::ostream& out_;
  bool plain_;
  std::array<char, 256> line_;  // a position and a value of the largest precision fit in
  char* end_ = line_.data();
};

/// Writes one line for each element: what `prefix` writes for its index, then the element.
template <class Prefix>
type_cBoolean WriteLines(std::ostream& out, const parr_c1DNumberArray& array, int precision, int flags,
                         Prefix prefix) {
  LineWriter lines(out, precision, flags);
  detail::VisitElementType(array.DataType().Type(), [&]<class T>(std::type_identity<T>) {
    const T* values = static_cast<const T*>(array.Data());
    for (int i = 0; i < array.NumIndices() && lines.bGood(); ++i) {
      prefix(lines, i);
      lines.Write(values[i]);
      lines.EndLine();
    }
    return true;
  });
  return out.good();
}

}  // namespace

asrw_eFormat asrw_ASCII_Format(std::istream& in) {
  std::array<char, 80> line;
  const std::istream::pos_type start = in.tellg();
  if (!in.good() || start == std::istream::pos_type(-1)) return asrw_UnknownFormat;
  in.get(line.data(), line.size(), '\n');
  const bool read = !in.fail() && in.gcount() > 0;
  const char* end = line.data() + in.gcount();
  if (!bMovedBack(in, start, {line.data(), end}) || !read) return asrw_UnknownFormat;

  int numbers = 0;
  const char* text = SkipSpace(line.data(), end);
  bool spaced = true;
  for (double ignored = 0; numbers < 2; ++numbers) {
    const char* stop = ParseNumber(text, end, ignored);
    if (stop == text || !bNumber(ignored, spaced, stop, end)) break;
    text = SkipSpace(stop, end);
    spaced = text != stop;
  }
  if (numbers == 1) return asrw_OneColumn;
  return numbers == 2 && text == end ? asrw_TwoColumn : asrw_UnknownFormat;
}

type_cBoolean asrw_ReadOneColumn(std::istream& in, parr_c1DNumberArray& out) {
  if (asrw_ASCII_Format(in) != asrw_OneColumn) return false;
  NumberReader numbers(in);
  std::vector<double> values;
  for (double value = 0; numbers.Next(value);) values.push_back(value);
  numbers.Finish();
  if (values.empty()) return false;  // the format check saw only a part of the first number
  out = ArrayOf(values);
  return true;
}

type_cBoolean asrw_ReadTwoColumn(std::istream& in, darr_c1DArray& out) {
  if (asrw_ASCII_Format(in) != asrw_TwoColumn) return false;
  NumberReader numbers(in);
  double first = 0;
  double last = 0;
  std::vector<double> values(2);
  const bool paired =
      numbers.Next(first) && numbers.Next(values[0]) && numbers.Next(last) && numbers.Next(values[1]);
  const double delta = last - first;
  if (!paired || !std::isfinite(delta) || std::fabs(delta) < type_MinValue) {
    numbers.Finish();
    return false;
  }
  for (double position = 0, value = 0; numbers.Next(position) && numbers.Next(value); last = position)
    values.push_back(value);
  numbers.Finish();
  if (delta < 0) std::reverse(values.begin(), values.end());
  out = darr_c1DArray(ArrayOf(values),
                      delta > 0 ? cal_c1DArrayCal(first, delta) : cal_c1DArrayCal(last, -delta));
  return true;
}

type_cBoolean asrw_WriteOneColumn(std::ostream& out, const parr_c1DNumberArray& array, int precision,
                                  int flags) {
  return WriteLines(out, array, precision, flags, [](LineWriter&, int) {});
}

type_cBoolean asrw_WriteTwoColumn(std::ostream& out, const darr_c1DArray& array, int precision, int flags) {
  return WriteLines(out, array, precision, flags, [&array](LineWriter& lines, int i) {
    lines.Write(array.Cal().PositionX(i));
    lines.Put('\t');
  });
}
