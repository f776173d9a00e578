#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <utility>

#include "file/failure.h"
#include "file/text.h"
#include "io/layoutfinder.h"

// Where a text can be read in two ways: options then decide, instead of a guess.

namespace dseries {

namespace {

/// A part of the text for a message, with tabs to be seen.
std::string Excerpt(std::string_view line) {
  std::string text;
  for (const char c : Trimmed(line)) text.append(c == '\t' ? "\\t" : &c, c == '\t' ? 2 : 1);
  return Shortened(Printable(text), 40);
}

/// Whether a text has digits, and no letters but those of exponents.
bool bOnlyDigits(std::string_view text) {
  const auto letter = [](char c) {
    return c < 0 || (std::isalpha(static_cast<unsigned char>(c)) != 0 &&
                     std::string_view("eEdD").find(c) == std::string_view::npos);
  };
  return text.find_first_of("0123456789") != text.npos && std::none_of(text.begin(), text.end(), letter);
}

}  // namespace

void LayoutFinder::CheckTabs() {
  Splitter splitter('\t', form_.CommentMarks(), missing_), blanks(' ', form_.CommentMarks(), missing_);
  std::vector<std::size_t> places, starts;  // of the words of the first line: their fields and columns
  std::size_t count = 0;
  bool moved = false, aligned = true, even = true;
  std::string_view doubtful;
  for (const std::string_view whole : sample_) {
    const std::string_view line = splitter.WithoutComment(whole);
    const auto& fields = splitter.Split(line);
    std::vector<std::size_t> place, start;
    for (std::size_t f = 0; f < fields.size(); ++f) {
      const Kind kind = KindOf(fields[f], layout_.notation.decimal);
      if (kind == Kind::Number || kind == Kind::Missing) place.push_back(f);
    }
    if (place.size() != layout_.fields) {
      even = even && !bNumbers(blanks.Split(line));
      continue;
    }
    constexpr std::size_t tab = 8;
    std::size_t column = 0;
    char last = ' ';
    for (const char c : line) {
      if (bBlank(last) && !bBlank(c)) start.push_back(column);
      column = c == '\t' ? (column / tab + 1) * tab : column + 1;
      last = c;
    }
    if (count == 0) {
      places = place;
      starts = start;
      count = fields.size();
    }
    if (place != places && !std::exchange(moved, true)) doubtful = line;
    aligned = aligned && start == starts;
    even = even && fields.size() == count;
  }
  if (!moved || aligned) return;
  if (!even) {
    Fail(
        "{}: '{}' may have an empty field between its tabs; --delimiter tab or --delimiter space says "
        "which",
        path_, Excerpt(doubtful));
  }
  layout_.notation.delimiter = '\t';
  layout_.fields = count;
}

void LayoutFinder::CheckCommas() const {
  Splitter splitter(',', form_.CommentMarks(), missing_);
  std::string_view doubtful;
  for (const std::string_view whole : sample_) {
    const std::string_view line = Trimmed(splitter.WithoutComment(whole));
    const auto& fields = splitter.Split(line);
    if (fields.size() != layout_.fields || KindOf(fields[0], '.') != Kind::Number) continue;
    bool blank = true;
    for (std::size_t i = line.find(','); i != line.npos; i = line.find(',', i + 1)) {
      if (line.substr(i + 1).starts_with(' ') == blank) return;
      blank = !blank;
    }
    if (blank || layout_.fields < 4) return;
    doubtful = line;
  }
  if (doubtful.empty()) return;
  Fail("{}: '{}' may have decimal commas; --delimiter , says that all of them separate columns", path_,
       Excerpt(doubtful));
}

void LayoutFinder::Choose(const Fit& pairs, const Fit& singles, bool possible) {
  Splitter splitter(',', form_.CommentMarks(), missing_);
  std::vector<double> positions;
  std::string_view first;
  std::size_t names = 0;
  bool zeros = false;  // as only decimals begin
  for (const std::string_view line : sample_) {
    const auto& fields = splitter.Split(splitter.WithoutComment(line));
    double position = 0;
    if (fields.empty()) continue;
    zeros =
        zeros || (fields.size() == 2 && fields[1].size() > 1 && fields[1][0] == '0' && fields[1][1] != '.');
    if (ReadNumber(fields[0], position)) {
      if (positions.empty()) first = line;
      positions.push_back(position);
    } else if (positions.empty()) {
      names = fields.size();
    }
    if (positions.size() == sample_size) break;
  }
  const double step = positions.size() < 3 ? 0 : positions[1] - positions[0];
  bool even = step != 0;
  for (std::size_t i = 1; i < positions.size() && even; ++i)
    even = std::fabs(positions[i] - positions[i - 1] - step) <= 0.05 * std::fabs(step);

  const bool as_pairs = names == 2 || (possible && names == 0 && even && !zeros);
  const bool as_singles = !possible || (names == 1 && !even);
  if (!as_pairs && !as_singles) {
    Fail(
        "{}: '{}' may be two numbers, or one with a decimal comma or a mark between thousands; "
        "--delimiter , or --decimal , says which",
        path_, Excerpt(first));
  }
  layout_.notation = as_pairs ? pairs.notation : singles.notation;
  layout_.fields = as_pairs ? pairs.fields : singles.fields;
  layout_.assumed = as_pairs && names != 2;
}

void LayoutFinder::CheckGroups() const {
  if (layout_.notation.decimal != ',') return;
  Splitter splitter(layout_.notation.delimiter, form_.CommentMarks(), missing_);
  struct Column {
    std::string_view grouped;
    bool decimals = false, whole = false;
  };
  std::map<std::size_t, Column> columns;
  for (const std::string_view line : sample_) {
    const auto& fields = splitter.Split(splitter.WithoutComment(line));
    for (std::size_t f = 0; f < fields.size(); ++f) {
      if (KindOf(fields[f], ',') != Kind::Number) continue;
      Column& column = columns[f];
      if (fields[f].find(',') == fields[f].npos) {
        column.whole = column.whole || fields[f].size() >= 3;
      } else if (bGroupedDigits(fields[f])) {
        column.grouped = fields[f];
      } else {
        column.decimals = true;
      }
    }
  }
  std::string_view grouped;
  for (const auto& [f, column] : columns) {
    const bool semicolons = layout_.notation.delimiter == ';';
    if (column.decimals && !semicolons) return;
    if (!column.decimals && (!semicolons || column.whole))
      grouped = column.grouped.empty() ? grouped : column.grouped;
  }
  if (grouped.empty()) return;
  Fail(
      "{}: '{}' may have a decimal comma or a mark between thousands, which is not read; --decimal , says "
      "that it is a decimal comma",
      path_, Printable(grouped));
}

void LayoutFinder::CheckComments(Splitter& splitter) const {
  if (!form_.comments.empty()) return;
  int data = 0, doubtful = 0;
  std::string_view cut;
  for (const std::string_view line : sample_) {
    const std::string_view part = splitter.WithoutComment(line);
    if (Trimmed(part).empty() || !bData(splitter.Split(part, layout_.fields))) continue;
    ++data;
    const std::string_view rest = Trimmed(line.substr(part.size()));
    const bool delimiter = rest.starts_with(';') || rest.starts_with('%');  // which may be units
    if (rest.empty() || (!delimiter && rest.find_first_of("0123456789") == rest.npos)) continue;
    ++doubtful;
    cut = rest;
  }
  if (2 * doubtful <= data) return;
  Fail(
      "{}: '{}' and the like at the end of lines may be data; --comment '{}' says that it is a comment, "
      "--comment and another mark that it is none",
      path_, Excerpt(cut), cut.substr(0, cut.starts_with("//") ? 2 : 1));
}

void LayoutFinder::CheckNumberOfNames(Splitter& splitter, std::string_view header) {
  const char delimiter = layout_.notation.delimiter;
  if (delimiter == ' ') {
    Splitter tabs('\t', {}, missing_);
    const std::size_t names = tabs.Split(header).size();
    std::string_view rest = text_.substr(layout_.begin);
    if (!form_.delimiter && names > layout_.fields && tabs.Split(TakeLine(rest)).size() >= names) {
      Fail(
          "{}: '{}' names {} columns between tabs, and the data have {}; --delimiter tab reads empty "
          "fields",
          path_, Excerpt(header), names, Count(static_cast<std::int64_t>(layout_.fields), "word", "words"));
    }
    return;
  }
  const auto& words = splitter.Split(header);
  std::vector<std::string_view> names(words.begin(), words.end());
  while (!names.empty() && names.back().empty()) names.pop_back();
  if (names.size() > layout_.fields && names.size() <= delimited_) {
    layout_.fields = names.size();
    layout_.numeric.resize(layout_.fields, true);
  }
  if (delimiter == ',' && !form_.delimiter && names.size() > 1 && names.size() < layout_.fields) {
    Fail(
        "{}: '{}' names {} columns, and the lines have {} fields, perhaps with decimal commas; --delimiter "
        ", "
        "says that all commas separate columns",
        path_, Excerpt(header), names.size(), layout_.fields);
  }
}

void LayoutFinder::CheckHeader(int line, std::string_view whole,
                               const std::vector<std::string_view>& fields) const {
  const auto number = [&](auto field) { return KindOf(field, layout_.notation.decimal) == Kind::Number; };
  const std::string skip = fmt::format("; {}--skip {} leaves out the lines up to it, if they are no data",
                                       layout_.notation.delimiter == ' ' && whole.find('\t') != whole.npos
                                           ? "--delimiter tab reads empty fields, "
                                           : "",
                                       line);
  const auto filled = std::count_if(fields.begin(), fields.end(), [](auto field) { return !field.empty(); });
  const auto numbers = std::find_if_not(fields.begin(), fields.end(), number) - fields.begin();
  const bool digits = layout_.fields == 1 && bOnlyDigits(whole);
  if (digits || (numbers > 0 && (numbers >= std::ssize(layout_.numeric) ||
                                 std::count_if(fields.begin(), fields.end(), number) == filled))) {
    if (fields.size() == layout_.fields) FailForField(path_, line, fields[0], skip);
    Fail("{}: line {} has {}, and the data behind it have {}{}", path_, line,
         Count(static_cast<std::int64_t>(fields.size()), "field", "fields"), layout_.fields, skip);
  }
  if (fields.size() != layout_.fields || !(number(fields[0]) || bSpoiltNumber(fields[0]))) return;
  const std::string missing = number(fields[0]) ? "; --missing names a word for a missing value" : "";
  FailForField(path_, line, *std::find_if_not(fields.begin(), fields.end(), number), missing + skip);
}

}  // namespace dseries
