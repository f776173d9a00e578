#include "io/columns.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <iterator>
#include <locale>
#include <sstream>

#include "file/failure.h"
#include "file/text.h"

namespace dseries {

namespace {

bool bBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && bBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && bBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool bSameWord(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

/// False when the whole word is not a number, or one too large for a double. One too small for a double is 0.
bool ReadNumber(std::string_view word, double& value) {
  if (word.starts_with('+') && !word.starts_with("+-")) word.remove_prefix(1);
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  if (error == std::errc::result_out_of_range && stop == end) {
    std::istringstream in{std::string(word)};  // fails only for numbers that are too large
    in.imbue(std::locale::classic());
    return static_cast<bool>(in >> value);
  }
  return error == std::errc() && stop == end;
}

class ColumnReader {
 public:
  ColumnReader(const std::string& path, std::string_view text, const std::vector<std::string>& missing)
      : path_(path), text_(text) {
    static constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (text_.starts_with(byte_order_mark)) text_.remove_prefix(byte_order_mark.size());
    text_ = text_.substr(0, text_.size() - TrailingBlanks());
    for (const std::string& word : missing) {
      missing_words_.emplace_back(Trimmed(word));
      if (double number; ReadNumber(missing_words_.back(), number)) missing_numbers_.push_back(number);
    }
  }

  Columns Read() {
    fields_wanted_ = CountFields();
    std::string_view rest = text_;
    while (!rest.empty()) {
      const std::string_view line = TakeLine(rest);
      ++line_;
      Split(line);
      if (!fields_.empty() || fields_wanted_ == 1) TakeFields();
    }
    if (columns_.values.empty()) Fail("{} holds no numbers", path_);
    if (std::ssize(columns_.values) > std::numeric_limits<int>::max())
      Fail("{} holds too many values", path_);
    return std::move(columns_);
  }

 private:
  std::size_t TrailingBlanks() const {
    const auto last = std::find_if_not(text_.rbegin(), text_.rend(), bBlank);
    return static_cast<std::size_t>(last - text_.rbegin());
  }

  static std::string_view TakeLine(std::string_view& rest) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
  }

  void SplitAtBlanks(std::string_view line) {
    fields_.clear();
    const char* c = line.data();
    const char* const end = c + line.size();
    for (;;) {
      while (c != end && bBlank(*c)) ++c;
      if (c == end) return;
      const char* const first = c;
      while (c != end && !bBlank(*c)) ++c;
      fields_.emplace_back(first, c);
    }
  }

  void SplitAtTabs(std::string_view line) {
    fields_.clear();
    for (;;) {
      const std::size_t tab = line.find('\t');
      fields_.push_back(Trimmed(line.substr(0, tab)));
      if (tab == line.npos) return;
      line.remove_prefix(tab + 1);
    }
  }

  /// With as many words as columns no field is empty, however many tabs align them. Otherwise tabs separate
  /// the fields, which may be empty.
  void Split(std::string_view line) {
    SplitAtBlanks(line);
    if (fields_.empty() || fields_.size() == fields_wanted_ || line.find('\t') == line.npos) return;
    SplitAtTabs(line);
    while (fields_.size() > fields_wanted_ && fields_.back().empty()) fields_.pop_back();
  }

  /// The number of fields in the first line or, when a tab there borders on an empty field, in the first line
  /// without empty fields.
  std::size_t CountFields() {
    std::size_t words = 0;
    for (std::string_view rest = text_; !rest.empty();) {
      const std::string_view line = TakeLine(rest);
      SplitAtBlanks(line);
      if (words == 0) words = fields_.size();
      if (words == 0) continue;
      if (line.find('\t') == line.npos) break;
      SplitAtTabs(line);
      const bool whole = std::none_of(fields_.begin(), fields_.end(), [](auto f) { return f.empty(); });
      if (whole) return fields_.size();
    }
    return words;
  }

  void TakeFields() {
    if (fields_.size() > 2 || (!fields_.empty() && fields_.size() != fields_wanted_)) FailForCount();
    double position = 0, value = 0;
    const std::string_view last = fields_.empty() ? "" : fields_.back();
    if (fields_wanted_ == 2) {
      if (!ReadNumber(fields_[0], position)) FailForPosition(fields_[0]);
      if (!std::isfinite(position)) Fail("{}: line {}: the position is not finite", path_, line_);
      columns_.positions.push_back(position);
      columns_.digits.Add(fields_[0]);
    }
    if (bMissing(last, value)) {
      value = std::numeric_limits<double>::quiet_NaN();
      if (columns_.missing++ == 0) columns_.first_missing = line_;
    }
    columns_.values.push_back(value);
    columns_.lines.push_back(line_);
  }

  /// Whether a field stands for a missing value; otherwise sets `value`.
  bool bMissing(std::string_view field, double& value) const {
    if (ReadNumber(field, value)) {
      return std::find(missing_numbers_.begin(), missing_numbers_.end(), value) != missing_numbers_.end();
    }
    if (!bMissingWord(field)) FailForWord(field);
    return true;
  }

  /// Excludes the words for not-a-number, which are read as numbers.
  bool bMissingWord(std::string_view field) const {
    const auto same = [field](std::string_view word) { return bSameWord(field, word); };
    static constexpr std::string_view usual[] = {"", "--", "NA", "N/A"};
    return std::any_of(std::begin(usual), std::end(usual), same) ||
           std::any_of(missing_words_.begin(), missing_words_.end(), same);
  }

  [[noreturn]] void FailForWord(std::string_view word) const {
    const std::string text = Printable(str_cString(word));
    Fail("{}: line {}: '{}' is not a number{}", path_, line_, Shortened(text, 40),
         word.empty() || columns_.values.empty() ? "" : "; --missing WORD names a word for a missing value");
  }

  [[noreturn]] void FailForPosition(std::string_view field) const {
    if (bMissingWord(field)) Fail("{}: line {}: the position is missing", path_, line_);
    FailForWord(field);
  }

  /// A field that is not a number explains more than the number of fields.
  [[noreturn]] void FailForCount() const {
    for (const std::string_view field : fields_) {
      if (double number; !ReadNumber(field, number) && !bMissingWord(field)) FailForWord(field);
    }
    const std::string count = Count(static_cast<std::int64_t>(fields_.size()), "field", "fields");
    if (columns_.values.empty()) {
      Fail("{}: line {} has {}; a text has one number on each line (values) or two (position and value)",
           path_, line_, count);
    }
    Fail("{}: line {} has {}, and those before it have {}", path_, line_, count, fields_wanted_);
  }

  const std::string& path_;
  std::string_view text_;
  std::vector<std::string> missing_words_;
  std::vector<double> missing_numbers_;
  std::size_t fields_wanted_ = 0;
  std::vector<std::string_view> fields_;  ///< of the current line
  int line_ = 0;
  Columns columns_;
};

/// The step from the first position to the last one, with no more digits than needed.
double StepBetween(double first, double last, double steps) {
  const double exact = (last - first) / steps;
  const double slack =
      2 * std::numeric_limits<double>::epsilon() * std::max(std::fabs(first), std::fabs(last)) / steps;
  for (int digits = 1; digits <= std::numeric_limits<double>::digits10; ++digits) {
    double rounded = 0;
    if (ReadNumber(NumberText(exact, digits), rounded) && std::fabs(rounded - exact) <= slack) return rounded;
  }
  return exact;
}

/// The rounding errors of positions before they were printed: they may have been stored as float, or added up
/// in double.
double RoundingOf(const Columns& columns) {
  constexpr int full_double = 17, more_than_float = 12;
  const std::vector<double>& p = columns.positions;
  const double largest = std::max(std::fabs(p.front()), std::fabs(p.back()));
  const int digits = columns.digits.significant;
  const auto is_float = [](double x) {
    return std::fabs(static_cast<double>(static_cast<float>(x)) - x) <= std::fabs(x) * 1e-11;
  };
  if (digits >= more_than_float && largest < std::numeric_limits<float>::max() &&
      std::all_of(p.begin(), p.end(), is_float)) {
    return largest * std::numeric_limits<float>::epsilon();
  }
  const double additions = digits >= full_double ? static_cast<double>(p.size()) : 2;
  return largest * std::numeric_limits<double>::epsilon() * additions;
}

/// Throws Failure where positions do not go on in the direction of the first two.
void CheckDirection(const std::string& path, const Columns& columns) {
  const std::vector<double>& p = columns.positions;
  for (std::size_t i = 1; i < p.size(); ++i) {
    if (p[i] == p[i - 1]) {
      Fail("{}: line {}: the position {} is the same as on line {}", path, columns.lines[i], p[i],
           columns.lines[i - 1]);
    }
    if ((p[i] < p[i - 1]) != (p[1] < p[0])) {
      Fail("{}: line {}: the position {} turns back; those before it {} to {}", path, columns.lines[i], p[i],
           p[1] < p[0] ? "fall" : "rise", p[i - 1]);
    }
  }
}

/// Reports the first line that is not about a median step after the line before it: a missing line moves all
/// that follow it. Otherwise, and with a given step, reports the one farthest off.
[[noreturn]] void FailForUneven(const std::string& path, const Columns& columns, const cal_cArrayCal& cal,
                                std::size_t farthest, const GridForm& form) {
  const std::vector<double>& p = columns.positions;
  std::size_t row = farthest;
  double even = cal.Position(static_cast<int>(row));
  if (form.delta == 0) {
    std::vector<double> steps(p.size() - 1);
    std::transform(p.begin() + 1, p.end(), p.begin(), steps.begin(), std::minus<>());
    const auto middle = steps.begin() + (std::ssize(steps) - 1) / 2;
    std::nth_element(steps.begin(), middle, steps.end());
    for (std::size_t i = 1; i < p.size(); ++i) {
      if (std::fabs(p[i] - p[i - 1] - *middle) > std::fabs(*middle) / 2) {
        row = i;
        even = p[i - 1] + *middle;
        break;
      }
    }
  }
  Fail("{}: line {}: the position {} is off the even grid, which has {} there; {}", path, columns.lines[row],
       p[row], NumberText(even),
       form.even         ? "that is more than half a step, too far for --even"
       : form.delta != 0 ? "--even accepts up to half a step"
                         : "--even accepts up to half a step, --delta DX sets the step");
}

}  // namespace

void PrintedDigits::Add(std::string_view number) {
  int behind_point = 0, digits = 0, exponent = 0;
  bool point = false;
  for (std::size_t i = 0; i < number.size(); ++i) {
    const char c = number[i];
    if (c >= '0' && c <= '9') {
      digits += digits > 0 || c != '0';
      behind_point += point;
    } else if (c == '.') {
      point = true;
    } else if (c == 'e' || c == 'E') {
      const std::size_t sign = i + 1 < number.size() && number[i + 1] == '+';
      std::from_chars(number.data() + i + 1 + sign, number.data() + number.size(), exponent);
      break;
    }
  }
  decimals = std::max(decimals, behind_point - exponent);
  significant = std::max(significant, digits);
}

double PrintedDigits::Unit(double number) const {
  const double behind_point = std::pow(10, -decimals);
  if (number == 0) return behind_point;
  return std::max(behind_point, std::pow(10, std::floor(std::log10(std::fabs(number))) - significant + 1));
}

Columns ReadColumns(const std::string& path, std::string_view text, const std::vector<std::string>& missing) {
  return ColumnReader(path, text, missing).Read();
}

Grid GridOf(const std::string& path, const Columns& columns, const GridForm& form) {
  const std::vector<double>& p = columns.positions;
  CheckDirection(path, columns);
  if (p.size() < 2 && form.delta == 0)
    Fail("{}: one position does not give a step; --delta DX sets it", path);
  const bool given = form.delta != 0, falls = p.size() > 1 && p[1] < p[0];
  const double step = !given  ? StepBetween(p.front(), p.back(), static_cast<double>(p.size() - 1))
                      : falls ? -std::fabs(form.delta)
                              : form.delta;
  const cal_cArrayCal cal(p.front(), step);

  // Each position is rounded by up to half a unit, and so are the ends that define the grid. A missing
  // line moves others by half a step or, with a given step, by a whole one, which must not pass for rounding.
  const PrintedDigits& digits = columns.digits;
  const double most = std::fabs(step) / (given ? 2 : 4), rounding = RoundingOf(columns);
  const double begin = digits.Unit(p.front()), end = given ? begin : digits.Unit(p.back());
  const double least = std::min(digits.Unit(0) + rounding, most);
  double largest = 0;
  std::size_t farthest = 0;
  bool uneven = false;
  for (std::size_t i = 0; i < p.size(); ++i) {
    const double distance = std::fabs(p[i] - cal.Position(static_cast<int>(i)));
    if (distance > largest) {
      largest = distance;
      farthest = i;
    }
    if (uneven || distance <= least) continue;
    const double part = static_cast<double>(i) / static_cast<double>(p.size() - 1);
    const double units = digits.Unit(p[i]) + (1 - part) * begin + part * end;
    uneven = !(distance <= std::min(units / 2 + rounding, most));
  }
  if (!uneven) return {cal, {}};
  if (form.even && largest <= std::fabs(step) / 2) return {cal, farthest};
  FailForUneven(path, columns, cal, farthest, form);
}

}  // namespace dseries
