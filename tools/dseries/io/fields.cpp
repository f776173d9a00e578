#include "io/fields.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <iterator>
#include <limits>
#include <locale>
#include <sstream>

namespace dseries {

namespace {

bool bDigit(char c) { return c >= '0' && c <= '9'; }

bool bSameWord(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

bool ReadUsual(std::string_view word, double& value) {
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

/// The number with a decimal point and an exponent E; empty if it is none.
std::string Rewritten(std::string_view word, char decimal) {
  std::string text;
  bool point = false, exponent = false;
  const std::size_t digit = std::min(word.find_first_not_of("+-"), word.size());
  const bool normalized = digit + 1 >= word.size() || !bDigit(word[digit]) || !bDigit(word[digit + 1]);
  for (std::size_t i = 0; i < word.size(); ++i) {
    const char c = word[i], last = i == 0 ? ' ' : word[i - 1], next = i + 1 < word.size() ? word[i + 1] : ' ';
    if (c == decimal) {
      if (point || (c == ',' && !bDigit(next))) return "";
      point = true;
      text += '.';
    } else if (c == '.' || c == ',') {
      return "";
    } else if (point && normalized && !exponent && (c == '+' || c == '-') && bDigit(last) &&
               word.size() - i == 4) {
      exponent = true;  // Fortran omits the letter before an exponent of three digits
      text += 'E';
      text += c;
    } else if (const bool letter = c == 'D' || c == 'd' || c == 'E' || c == 'e';
               letter && (bDigit(last) || last == decimal) && (bDigit(next) || next == '+' || next == '-')) {
      if (exponent) return "";
      exponent = true;
      text += 'E';
    } else {
      text += c;
    }
  }
  return text;
}

/// The words that C programs of one compiler family write, such as -1.#IND00.
bool ReadSpecial(std::string_view word, double& value) {
  const bool negative = word.starts_with('-');
  word.remove_prefix(negative ? 1 : 0);
  if (!word.starts_with("1.#")) return false;
  using Limits = std::numeric_limits<double>;
  const std::string_view kind = word.substr(3);
  if (kind.starts_with("INF")) {
    value = negative ? -Limits::infinity() : Limits::infinity();
    return true;
  }
  value = Limits::quiet_NaN();
  return kind.starts_with("QNAN") || kind.starts_with("SNAN") || kind.starts_with("IND");
}

}  // namespace

bool bBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && bBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && bBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool ReadNumber(std::string_view word, double& value, char decimal) {
  if ((decimal == '.' || word.find('.') == word.npos) && ReadUsual(word, value)) return true;
  if (word.empty() || word.find_first_of("0123456789") == word.npos) return false;
  if (ReadSpecial(word, value)) return true;
  constexpr std::string_view minus = "\u2212";
  if (const std::size_t at = word.find(minus); at != word.npos) {
    return ReadNumber(fmt::format("{}-{}", word.substr(0, at), word.substr(at + minus.size())), value,
                      decimal);
  }
  const std::string text = Rewritten(word, decimal);
  return !text.empty() && ReadUsual(text, value);
}

bool bGroupedDigits(std::string_view word) {
  if (word.starts_with('-') || word.starts_with('+')) word.remove_prefix(1);
  const auto take_digits = [&word] {
    const std::size_t n = std::min(word.find_first_not_of("0123456789"), word.size());
    word.remove_prefix(n);
    return n;
  };
  if (word.starts_with('0')) return false;
  const std::size_t first = take_digits();
  if (first < 1 || first > 3 || word.empty() || (word[0] != ',' && word[0] != '.')) return false;
  for (const char mark = word[0]; word.starts_with(mark);) {
    word.remove_prefix(1);
    if (take_digits() != 3) return false;
    if (!word.empty() && (word[0] == ',' || word[0] == '.') && word[0] != mark) {  // the decimals follow
      word.remove_prefix(1);
      take_digits();
      break;
    }
  }
  return word.empty();
}

bool bSpoiltNumber(std::string_view field) {
  constexpr std::string_view around = "+-<>=~()'\"$*%";
  const std::size_t first = field.find_first_not_of(around);
  return first != field.npos &&
         field.find_first_not_of("0123456789.,", first) >=
             std::min(field.find_last_not_of(around) + 1, field.size()) &&
         field.find_first_of("0123456789") != field.npos;
}

MissingWords::MissingWords(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    words_.emplace_back(Trimmed(word));
    double number = 0;
    if (ReadNumber(words_.back(), number) || ReadNumber(words_.back(), number, ','))
      numbers_.push_back(number);
  }
}

bool MissingWords::bWord(std::string_view field) const {
  const auto same = [field](std::string_view word) { return bSameWord(field, word); };
  static constexpr std::string_view usual[] = {"", "--", "NA", "N/A", "#DIV/0!", "#NUM!", "#VALUE!", "#N/A"};
  return std::any_of(std::begin(usual), std::end(usual), same) ||
         std::any_of(words_.begin(), words_.end(), same);
}

bool MissingWords::bNumber(double value) const {
  return std::find(numbers_.begin(), numbers_.end(), value) != numbers_.end();
}

Splitter::Splitter(char delimiter, const std::vector<std::string>& comments, const MissingWords& missing)
    : delimiter_(delimiter), missing_(missing) {
  std::copy_if(comments.begin(), comments.end(), std::back_inserter(comments_),
               [&](const std::string& mark) { return !mark.empty() && mark != std::string(1, delimiter); });
}

std::string_view Splitter::TakeQuoted(std::string_view text) {
  std::size_t end = 1;
  bool plain = true;
  while ((end = text.find('"', end)) != text.npos && text.substr(end).starts_with("\"\"")) {
    plain = false;
    end += 2;
  }
  end = std::min(end, text.size());
  std::string_view inside = text.substr(1, end - 1);
  if (!plain) {
    std::string& copy = unquoted_.emplace_back();
    for (std::size_t i = 0; i < inside.size(); i += inside[i] == '"' ? 2 : 1) copy += inside[i];
    inside = copy;
  }
  fields_.push_back(Trimmed(inside));
  return text.substr(std::min(end + 1, text.size()));
}

void Splitter::SplitAtBlanks(std::string_view line) {
  fields_.clear();
  const char* c = line.data();
  const char* const end = c + line.size();
  for (;;) {
    while (c != end && bBlank(*c)) ++c;
    if (c == end) return;
    if (*c == '"') {
      c = TakeQuoted({c, end}).data();
      continue;
    }
    const char* const first = c;
    while (c != end && !bBlank(*c)) ++c;
    fields_.emplace_back(first, c);
  }
}

void Splitter::SplitAt(char delimiter, std::string_view line) {
  fields_.clear();
  bool empty = true;
  for (;;) {
    const std::size_t start = std::min(line.find_first_not_of(' '), line.size());
    const bool quoted = line.substr(start).starts_with('"');
    const std::string_view behind = quoted ? TakeQuoted(line.substr(start)) : line;
    const std::size_t end = std::min(behind.find(delimiter), behind.size());
    if (!quoted) {
      fields_.push_back(Trimmed(behind.substr(0, end)));
    } else if (!Trimmed(behind.substr(0, end)).empty()) {  // no more than a quote in a text
      fields_.back() = Trimmed({line.data(), behind.data() + end});
    }
    empty = empty && fields_.back().empty();
    if (end == behind.size()) break;
    line = behind.substr(end + 1);
  }
  if (empty) fields_.clear();
}

const std::vector<std::string_view>& Splitter::Split(std::string_view line, std::size_t wanted) {
  unquoted_.clear();
  if (delimiter_ == ' ') {
    SplitAtBlanks(line);
    if (fields_.empty() || wanted == 0 || fields_.size() == wanted || line.find('\t') == line.npos)
      return fields_;
    SplitAt('\t', line);
  } else {
    SplitAt(delimiter_, line);
  }
  while (wanted != 0 && fields_.size() > wanted && fields_.back().empty()) fields_.pop_back();
  if (delimiter_ == '\t' && wanted != 0 && fields_.size() > wanted) {  // several tabs align the fields
    const std::vector<std::string_view> strict = fields_;
    SplitAtBlanks(line);
    if (fields_.size() != wanted) fields_ = strict;
  }
  return fields_;
}

std::string_view Splitter::WithoutComment(std::string_view line) const {
  bool quoted = false, begins = true;  // a field may begin here
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '"') quoted = !quoted;
    const bool mark = begins && !quoted &&
                      std::any_of(comments_.begin(), comments_.end(),
                                  [&](const auto& m) { return line.substr(i).starts_with(m); });
    if (mark) {
      const std::size_t end = line.find_first_of(std::string(" \t\r") + delimiter_, i);
      if (!missing_.bWord(line.substr(i, end - i))) return line.substr(0, i);
    }
    begins = bBlank(c) || c == delimiter_;
  }
  return line;
}

}  // namespace dseries
