#include "io/layout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <utility>

#include "file/failure.h"
#include "file/text.h"
#include "io/layoutfinder.h"

namespace dseries {

namespace {

/// UTF-16 as UTF-8. Throws Failure for half a character.
std::string FromUtf16(const std::string& path, std::string_view bytes, bool big_end) {
  if (bytes.size() % 2 != 0) Fail("{} is cut off: it is UTF-16 with an odd number of bytes", path);
  std::string text;
  text.reserve(bytes.size() / 2);
  const auto unit = [&](std::size_t i) -> std::uint32_t {
    const auto first = static_cast<unsigned char>(bytes[i]),
               second = static_cast<unsigned char>(bytes[i + 1]);
    return static_cast<std::uint32_t>(big_end ? first << 8 | second : second << 8 | first);
  };
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    std::uint32_t code = unit(i);
    if (code >= 0xD800 && code < 0xE000) {
      const std::uint32_t low = code < 0xDC00 && i + 3 < bytes.size() ? unit(i += 2) : 0;
      if (low < 0xDC00 || low >= 0xE000) Fail("{}: byte {} is no character of UTF-16", path, i);
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
    const auto add = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) {
      add(code);
      continue;
    }
    const int followers = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static constexpr std::uint32_t leads[] = {0, 0xC0, 0xE0, 0xF0};
    add(leads[followers] | code >> 6 * followers);
    for (int f = followers - 1; f >= 0; --f) add(0x80 | (code >> 6 * f & 0x3F));
  }
  return text;
}

/// Turns the ends of lines into LF: CR alone, in a text without LF; elsewhere a CR that no CR or LF follows.
void NormalizeLines(std::string& text) {
  const bool old = text.find('\n') == text.npos;
  for (std::size_t i = text.find('\r'); i != text.npos; i = text.find('\r', i + 1)) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\n';
    if (old || (next != '\n' && next != '\r')) text[i] = '\n';
  }
}

bool bUnits(std::string_view text) {
  if (text.size() > 2 &&
      ((text.front() == '(' && text.back() == ')') || (text.front() == '[' && text.back() == ']')))
    return true;
  static constexpr std::string_view units[] = {
      "",     "s",     "ms",  "us",  "µs",  "ns",   "min",   "h",    "m",   "mm",     "um",   "µm",
      "nm",   "cm",    "Å",   "A",   "mA",  "uA",   "µA",    "nA",   "pA",  "V",      "mV",   "uV",
      "kV",   "eV",    "keV", "meV", "Hz",  "kHz",  "MHz",   "GHz",  "K",   "°C",     "deg",  "°",
      "rad",  "mrad",  "W",   "mW",  "T",   "mT",   "G",     "Oe",   "Pa",  "bar",    "mbar", "Torr",
      "N",    "mN",    "nN",  "g",   "mg",  "kg",   "J",     "Ohm",  "dB",  "dBm",    "%",    "cps",
      "a.u.", "arb.u", "F",   "pF",  "1/s", "cm-1", "cm^-1", "1/cm", "sec", "counts", "Volt", "Second"};
  return std::find(std::begin(units), std::end(units), text) != std::end(units);
}

/// Splits a header at blanks: units in brackets belong to the word before them, and if there are still too
/// many words, two blanks or more separate names.
std::vector<std::string> NamesOfWords(const std::vector<std::string_view>& words, std::string_view line,
                                      std::size_t wanted) {
  std::vector<std::string> names;
  for (const std::string_view word : words) {
    const bool joins = !names.empty() && (word.starts_with('(') || word.starts_with('['));
    joins ? names.back().append(" ").append(word) : names.emplace_back(word);
  }
  if (names.size() == wanted) return names;
  names.clear();
  for (std::string_view rest = Trimmed(line); !rest.empty();) {
    const std::size_t end = std::min(rest.find("  "), rest.size());
    names.emplace_back(Trimmed(rest.substr(0, end)));
    rest = Trimmed(rest.substr(end));
  }
  return names;
}

/// Whether a field that is no number begins like one, as times and numbers with units do.
bool bLikeNumber(std::string_view field) {
  return field.substr(std::min(field.find_first_not_of("+-.,"), field.size())).find_first_of("0123456789") ==
         0;
}

}  // namespace

LayoutFinder::LayoutFinder(const std::string& path, std::string_view text, const TextForm& form,
                           const MissingWords& missing)
    : path_(path), text_(text), form_(form), missing_(missing) {
  for (int i = 0; i < form.skip.value_or(0) && layout_.begin < text.size(); ++i) {
    layout_.begin = std::min(text.find('\n', layout_.begin), text.size() - 1) + 1;
    ++layout_.first_line;
  }
  TakeSample();
}

Layout LayoutFinder::Find() {
  ChooseNotation();
  Splitter splitter(layout_.notation.delimiter, form_.CommentMarks(), missing_);
  FindNumericFields(splitter);
  FindStart(splitter);
  return std::move(layout_);
}

LayoutFinder::Kind LayoutFinder::KindOf(std::string_view field, char decimal) const {
  if (field.empty()) return Kind::Empty;
  if (double value = 0; ReadNumber(field, value, decimal)) return Kind::Number;
  return missing_.bWord(field) ? Kind::Missing : Kind::Other;
}

void LayoutFinder::TakeSample() {
  std::string_view rest = text_.substr(layout_.begin);
  const auto take = [&] {
    const std::string_view line = TakeLine(rest);
    if (!Trimmed(line).empty()) sample_.push_back(line);
  };
  while (!rest.empty() && sample_.size() < sample_size) take();
  const std::size_t step = rest.size() / sample_size;
  for (std::size_t i = 0; i < sample_size && !rest.empty(); ++i) {
    take();
    if (step <= 1) continue;
    const std::size_t ahead = std::min(rest.find('\n', std::min(step, rest.size())), rest.size());
    rest.remove_prefix(std::min(ahead + 1, rest.size()));
  }
}

LayoutFinder::Fit LayoutFinder::FitOf(const Notation& notation) const {
  Splitter splitter(notation.delimiter, form_.CommentMarks(), missing_);
  std::vector<std::pair<std::size_t, int>> scores;  // in the order of the lines
  for (const std::string_view line : sample_) {
    const auto& fields = splitter.Split(splitter.WithoutComment(line));
    int kinds[4] = {};
    for (const std::string_view field : fields) ++kinds[static_cast<int>(KindOf(field, notation.decimal))];
    const auto [empty, numbers, missing, other] = kinds;
    if (numbers + missing == 0) continue;
    auto score = std::find_if(scores.begin(), scores.end(),
                              [&fields](const auto& known) { return known.first == fields.size(); });
    if (score == scores.end()) score = scores.insert(score, {fields.size(), 0});
    score->second += other > 0 ? 100 * numbers / static_cast<int>(fields.size()) : empty > 0 ? 200 : 300;
  }
  Fit best{notation, 0, 0};
  for (const auto& [fields, score] : scores) {
    if (score > best.score) best = {notation, fields, score};
  }
  return best;
}

void LayoutFinder::ChooseNotation() {
  Fit best;
  std::map<std::pair<char, char>, Fit> fits;
  for (const char decimal : {'.', ','}) {
    for (const char delimiter : {' ', '\t', ';', ','}) {
      if (form_.delimiter.value_or(delimiter) != delimiter || form_.decimal.value_or(decimal) != decimal)
        continue;
      const bool quotes = text_.find('"') != text_.npos;
      if (delimiter == ',' && decimal == ',' && !quotes && !form_.delimiter) continue;
      const Fit fit = fits[{delimiter, decimal}] = FitOf({delimiter, decimal});
      // Semicolons between numbers begin no comments.
      const bool fields =
          fit.score == best.score && delimiter == ';' && fit.fields > 1 && best.notation.delimiter != ';';
      if (fit.score > best.score || fields) best = fit;
    }
  }
  if (best.score == 0) Fail("{} holds no numbers", path_);
  layout_.notation = best.notation;
  layout_.fields = best.fields;
  if (layout_.notation.delimiter == ' ' && !form_.delimiter) CheckTabs();
  if (form_.delimiter || form_.decimal) return;
  if (layout_.notation.delimiter == ',') CheckCommas();
  const Fit &pairs = fits[{',', '.'}], &singles = fits[{' ', ','}];
  const bool comma = best.notation.delimiter == ',' || (best.notation.decimal == ',' && best.fields == 1);
  if (!comma || best.fields > 1) CheckGroups();
  if (!comma) return;
  if (pairs.fields != 2 || singles.fields != 1) return;
  const auto single = [](std::string_view line) {
    return bGroupedDigits(Trimmed(line)) || line.find_first_of("0123456789") == line.npos;
  };
  if (best.score == singles.score || std::all_of(sample_.begin(), sample_.end(), single))
    Choose(pairs, singles, pairs.score == best.score);
}

bool LayoutFinder::bNumbers(const std::vector<std::string_view>& fields) const {
  return fields.size() == layout_.fields && std::none_of(fields.begin(), fields.end(), [&](auto field) {
           return KindOf(field, layout_.notation.decimal) == Kind::Other;
         });
}

void LayoutFinder::FindNumericFields(Splitter& splitter) {
  std::vector<int> numbers(layout_.fields), others(layout_.fields), filled(layout_.fields);
  std::vector<std::string_view> words(layout_.fields);
  layout_.unread.resize(layout_.fields);
  for (const std::string_view line : sample_) {
    const auto& fields = splitter.Split(splitter.WithoutComment(line));
    if (fields.size() != layout_.fields) continue;
    std::vector<Kind> kinds(fields.size());
    std::transform(fields.begin(), fields.end(), kinds.begin(),
                   [&](auto field) { return KindOf(field, layout_.notation.decimal); });
    const bool data = std::any_of(kinds.begin(), kinds.end(),
                                  [](Kind kind) { return kind == Kind::Number || kind == Kind::Missing; });
    for (std::size_t f = 0; data && f < fields.size(); ++f) {
      numbers[f] += kinds[f] == Kind::Number;
      others[f] += kinds[f] == Kind::Other;
      if (kinds[f] == Kind::Other) words[f] = fields[f];
      filled[f] += kinds[f] != Kind::Empty;
      if (kinds[f] == Kind::Other && (bLikeNumber(fields[f]) || bSpoiltNumber(fields[f])) &&
          layout_.unread[f].empty())
        layout_.unread[f] = fields[f];
    }
  }
  delimited_ = layout_.fields;
  while (layout_.fields > 1 && filled[layout_.fields - 1] == 0) --layout_.fields;  // delimiters end the lines
  for (std::size_t f = 0; f < layout_.fields; ++f) {
    layout_.numeric.push_back(others[f] <= numbers[f]);
    // Words among numbers may be missing values.
    if (!layout_.numeric[f] && numbers[f] > 0 && layout_.unread[f].empty()) layout_.unread[f] = words[f];
  }
  CheckComments(splitter);
}

bool LayoutFinder::bData(const std::vector<std::string_view>& fields) const {
  if (fields.size() != layout_.fields) return false;
  bool any = false;
  for (std::size_t f = 0; f < fields.size(); ++f) {
    const Kind kind = KindOf(fields[f], layout_.notation.decimal);
    if (layout_.numeric[f] && kind == Kind::Other) return false;
    any = any || (layout_.numeric[f] && kind != Kind::Empty);
  }
  return any;
}

void LayoutFinder::FindStart(Splitter& splitter) {
  std::string_view rest = text_.substr(layout_.begin);
  const std::size_t start = layout_.begin;
  const int first = layout_.first_line;
  std::vector<std::string_view> headers, comments;  // the last ones without a blank line between them
  bool blank = true, gap = false;
  for (int line = first;; ++line) {
    if (rest.empty()) Fail("{} holds no numbers", path_);
    const std::size_t begin = text_.size() - rest.size();
    const std::string_view whole = TakeLine(rest), part = splitter.WithoutComment(whole);
    const auto& fields = splitter.Split(part, layout_.fields);
    if (bData(fields)) {
      // In a text of values only, blank lines are missing values, the first ones too.
      if (!blank || layout_.fields > 1) {
        layout_.begin = begin;
        layout_.first_line = line;
      } else {
        layout_.begin = start;
        layout_.first_line = first;
      }
      break;
    }
    if (Trimmed(whole).empty() || (fields.empty() && !Trimmed(part).empty())) {
      gap = true;
      comments.clear();
      continue;
    }
    blank = false;
    if (Trimmed(part).empty()) {
      comments.push_back(WithoutMarks(whole));
      continue;
    }
    CheckHeader(line, part, fields);
    if (std::exchange(gap, false)) headers.clear();
    headers.push_back(bComment(whole.substr(part.size())) ? part : whole);
    ++layout_.header_lines;
  }
  if (!headers.empty()) CheckNumberOfNames(splitter, headers.back());
  const bool commented = layout_.header_lines == 0;
  if (!commented || layout_.fields > 1 ||
      (!comments.empty() && comments.back().find(' ') == comments.back().npos))
    NameFields(splitter, commented ? comments : headers);
}

std::string_view LayoutFinder::WithoutMarks(std::string_view comment) const {
  comment = Trimmed(comment);
  for (const std::string& mark : form_.CommentMarks()) {
    while (!mark.empty() && comment.starts_with(mark)) comment.remove_prefix(mark.size());
  }
  return Trimmed(comment);
}

bool LayoutFinder::bComment(std::string_view text) const {
  const std::size_t mark = text.starts_with("//") ? 2 : 1;
  return !form_.comments.empty() || (text.size() > mark && text[mark] == ' ');
}

std::vector<std::string> LayoutFinder::NamesIn(Splitter& splitter, std::string_view line) const {
  const char delimiter = layout_.notation.delimiter;
  if (delimiter == ' ' && line.find('\t') != line.npos) {
    Splitter tabs('\t', {}, missing_);
    const auto& fields = tabs.Split(line);
    if (fields.size() == layout_.fields) return {fields.begin(), fields.end()};
  }
  const auto& fields = splitter.Split(line, layout_.fields);
  std::vector<std::string> names(fields.begin(), fields.end());
  if (delimiter == ' ' && names.size() != layout_.fields) names = NamesOfWords(fields, line, layout_.fields);
  const bool words = std::none_of(names.begin(), names.end(), [&](const std::string& name) {
    return KindOf(name, layout_.notation.decimal) == Kind::Number;
  });
  return names.size() == layout_.fields && words ? names : std::vector<std::string>();
}

void LayoutFinder::NameFields(Splitter& splitter, const std::vector<std::string_view>& headers) {
  if (headers.empty()) return;
  layout_.names = NamesIn(splitter, headers.back());
  if (headers.size() < 2 || layout_.names.empty()) return;
  std::vector<std::string> names = NamesIn(splitter, headers[headers.size() - 2]);
  if (names.empty() || !std::all_of(layout_.names.begin(), layout_.names.end(), bUnits)) return;
  for (std::size_t f = 0; f < names.size(); ++f) {
    const std::string& units = layout_.names[f];
    if (units.empty()) continue;
    const bool bracketed = units[0] == '(' || units[0] == '[';
    names[f] += bracketed ? fmt::format(" {}", units) : fmt::format(" ({})", units);
  }
  layout_.names = names;
}

const std::vector<std::string>& TextForm::CommentMarks() const {
  static const std::vector<std::string> usual{"#", "%", ";", "//"};
  return comments.empty() ? usual : comments;
}

bool TextForm::bNone() const {
  return columns.empty() && !skip && !delimiter && !decimal && comments.empty() && missing.empty();
}

std::string TextOf(const std::string& path, std::string bytes) {
  using namespace std::literals;
  const auto zero = [&](std::size_t i) { return bytes.size() > i && bytes[i] == '\0'; };
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    bytes = FromUtf16(path, std::string_view(bytes).substr(2), bytes[0] == '\xFE');
  } else if (zero(0) != zero(1) && zero(0) == zero(2) && zero(1) == zero(3)) {
    bytes = FromUtf16(path, bytes, zero(0));
  } else if (bytes.starts_with("\xEF\xBB\xBF")) {
    bytes.erase(0, 3);
  }
  if (bytes.find('\0') != bytes.npos) Fail("{} is not a text: it holds bytes that are 0", path);
  NormalizeLines(bytes);
  const auto last = std::find_if_not(bytes.rbegin(), bytes.rend(), bBlank);
  bytes.resize(std::min(bytes.find('\n', static_cast<std::size_t>(bytes.rend() - last)), bytes.size()));
  return bytes;
}

std::string_view TakeLine(std::string_view& rest) {
  const std::size_t end = std::min(rest.find('\n'), rest.size());
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return line;
}

Layout FindLayout(const std::string& path, std::string_view text, const TextForm& form,
                  const MissingWords& missing) {
  return LayoutFinder(path, text, form, missing).Find();
}

void FailForField(const std::string& path, int line, std::string_view field, const std::string& advice) {
  const bool grouped = bGroupedDigits(field) && field.find_first_of(".,") != field.find_last_of(".,");
  Fail("{}: line {}: '{}' is not a number{}{}", path, line, Shortened(Printable(field), 40),
       grouped ? " that is read here, because of the mark between its thousands" : "", advice);
}

}  // namespace dseries
