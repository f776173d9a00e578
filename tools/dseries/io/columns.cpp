#include "io/columns.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>
#include <utility>

#include "file/failure.h"
#include "file/text.h"

namespace dseries {

namespace {

/// The columns that are read.
struct Selection {
  std::optional<std::size_t> position;
  std::vector<std::size_t> values;
  std::optional<std::size_t> datum, time, tag_x;  ///< in a table that 'dseries export' has written

  bool bTable() const { return datum.has_value(); }
};

/// A table of several data has the columns datum, ..., time, perhaps tag_x and tag_y, and those of the
/// positions and the values, which labels may name; a name that was taken before has a number behind it.
std::optional<Selection> TableOf(const Layout& layout) {
  const std::size_t n = layout.names.size();
  const auto is = [&](std::size_t behind, std::string_view name) {
    const std::string_view column = n > behind ? layout.names[n - 1 - behind] : std::string_view();
    return column == name || (column.starts_with(name) && column[name.size()] == '_' &&
                              column.find_first_not_of("0123456789", name.size() + 1) == column.npos);
  };
  const bool tagged = is(2, "tag_y") && is(3, "tag_x");
  const std::size_t behind = tagged ? 4 : 2;
  if (n < 4 || layout.names[0] != "datum" || !is(behind, "time")) return {};
  const std::size_t time = n - 1 - behind;
  if (!layout.numeric[0] || layout.numeric[time]) return {};
  return Selection{n - 2, {n - 1}, 0, time, tagged ? std::optional(n - 4) : std::nullopt};
}

class ColumnChooser {
 public:
  ColumnChooser(const std::string& path, const Layout& layout) : path_(path), layout_(layout) {}

  Selection Usual() const {
    if (const auto table = TableOf(layout_)) return *table;
    Selection selection;
    for (std::size_t f = 0; f < layout_.fields; ++f) {
      if (layout_.numeric[f]) selection.values.push_back(f);
      const std::string& unread = layout_.unread[f];
      if (layout_.numeric[f] || (f > 0 && unread.empty())) continue;
      Fail("{}: {} holds no numbers{}; --columns chooses others, by number or name (0 first: no positions)",
           path_, ColumnText(f),
           unread.empty() ? "" : fmt::format(", '{}' for one", Shortened(Printable(unread), 40)));
    }
    if (selection.values.size() > 1) {
      selection.position = 0;
      selection.values.erase(selection.values.begin());
    }
    return selection;
  }

  /// Reads "1,3-5", "Energy,Counts" and the like.
  Selection Given(const std::string& text) const {
    std::vector<std::size_t> chosen;
    bool none = false;
    std::string_view rest = text;
    for (bool more = true; more;) {
      const std::size_t comma = rest.find(',');
      const std::string_view item = Trimmed(rest.substr(0, comma));
      if (item == "0" && chosen.empty() && !none) {
        none = true;
      } else {
        Take(item, chosen);
      }
      more = comma != rest.npos;
      rest.remove_prefix(more ? comma + 1 : 0);
    }
    Selection selection;
    if (!none && chosen.size() > 1) {
      selection.position = chosen.front();
      chosen.erase(chosen.begin());
    }
    if (chosen.empty()) Fail("--columns {} names no column of values", text);
    selection.values = chosen;
    return selection;
  }

 private:
  std::string ColumnText(std::size_t f) const {
    const std::string name = layout_.names.empty() ? "" : Printable(layout_.names[f]);
    return fmt::format("column {}{}", f + 1, name.empty() ? "" : " '" + Shortened(name, 40) + '\'');
  }

  void Take(std::string_view item, std::vector<std::size_t>& chosen) const {
    if (const auto named = Named(item)) return chosen.push_back(*named);
    const std::size_t dash = item.find('-');
    const auto first = NumberIn(item.substr(0, dash));
    const auto last = dash == item.npos         ? first
                      : dash + 1 == item.size() ? std::optional(layout_.fields)
                                                : NumberIn(item.substr(dash + 1));
    if (!first || !last || *first < 1 || *last < *first) {
      Fail("{}: --columns: there is no column '{}'{}", path_, item,
           layout_.names.empty() ? "" : fmt::format("; there are {}", fmt::join(layout_.names, ", ")));
    }
    if (*last > layout_.fields) {
      Fail("{}: --columns: there is no column {}; the text has {}", path_, *last,
           Count(static_cast<std::int64_t>(layout_.fields), "column", "columns"));
    }
    for (std::size_t f = *first; f <= *last; ++f) chosen.push_back(f - 1);
  }

  static std::optional<std::size_t> NumberIn(std::string_view text) {
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
  }

  /// The column of this name, with or without its units. Throws Failure when there are several.
  std::optional<std::size_t> Named(std::string_view item) const {
    if (item.empty()) return {};
    const auto whole = [](std::string_view name) { return name; };
    const auto bare = [](std::string_view name) {
      return Trimmed(name.substr(0, name.find_first_of("([/")));
    };
    const auto found = Only(item, whole);
    return found ? found : Only(item, bare);
  }

  template <class Part>
  std::optional<std::size_t> Only(std::string_view item, Part part) const {
    std::optional<std::size_t> found;
    for (std::size_t f = 0; f < layout_.names.size(); ++f) {
      if (part(std::string_view(layout_.names[f])) != item) continue;
      if (found)
        Fail("{}: --columns: {} and {} are both '{}'", path_, ColumnText(*found), ColumnText(f), item);
      found = f;
    }
    return found;
  }

  const std::string& path_;
  const Layout& layout_;
};

class ColumnReader {
 public:
  ColumnReader(const std::string& path, std::string_view text, const TextForm& form)
      : path_(path),
        text_(text),
        missing_(form.missing),
        layout_(FindLayout(path, text, form, missing_)),
        splitter_(layout_.notation.delimiter, form.CommentMarks(), missing_),
        line_(layout_.first_line - 1) {
    const ColumnChooser chooser(path, layout_);
    selection_ = form.columns.empty() ? chooser.Usual() : chooser.Given(form.columns);
    usual_ = form.columns.empty();
  }

  Text Read() {
    BeginPart();
    // A comment that begins in a column which is not read would not be noticed there.
    const bool all = selection_.values.size() + (selection_.position ? 1 : 0) == layout_.fields;
    std::string_view rest = text_.substr(layout_.begin);
    while (!rest.empty()) {
      const std::string_view line = TakeLine(rest);
      ++line_;
      if (!all || !gap_.empty() || !bTaken(splitter_.Split(line, layout_.fields))) TakeOther(line);
    }
    if (result_.parts.back().lines.size() > std::size_t{std::numeric_limits<int>::max()})
      Fail("{} holds too many values", path_);
    result_.found = Found();
    return std::move(result_);
  }

 private:
  using Fields = std::vector<std::string_view>;

  std::string NameOf(std::size_t f) const { return layout_.names.empty() ? "" : Printable(layout_.names[f]); }

  void BeginPart() {
    part_ = &result_.parts.emplace_back();
    part_->data.resize(selection_.values.size());
    const auto name = [this](std::size_t f, std::string_view usual) {
      const std::string own = NameOf(f);
      return selection_.bTable() && own.starts_with(usual) ? "" : own;  // no label
    };
    if (selection_.position) part_->position_name = name(*selection_.position, "position");
    for (std::size_t i = 0; i < selection_.values.size(); ++i)
      part_->data[i].name = name(selection_.values[i], "value");
  }

  /// Adds the numbers of a line; false, with nothing added, when it does not hold what it should.
  bool bTaken(const Fields& fields) {
    if (fields.size() != layout_.fields) return false;
    const char decimal = layout_.notation.decimal;
    double position = 0, value = 0;
    if (selection_.position) {
      const std::string_view field = fields[*selection_.position];
      if (!ReadNumber(field, position, decimal) || !std::isfinite(position)) return false;
    }
    row_.clear();
    for (const std::size_t f : selection_.values) {
      const bool number = ReadNumber(fields[f], value, decimal);
      if (!number && !missing_.bWord(fields[f])) return false;
      const bool missing = !number || missing_.bNumber(value);
      row_.emplace_back(missing ? std::numeric_limits<double>::quiet_NaN() : value, missing);
    }
    if (selection_.bTable()) TakeStamp(fields);
    for (std::size_t i = 0; i < row_.size(); ++i) {
      Values& column = part_->data[i];
      column.values.push_back(row_[i].first);
      if (row_[i].second && column.missing++ == 0) column.first_missing = line_;
    }
    if (selection_.position) {
      part_->positions.push_back(position);
      part_->digits.Add(fields[*selection_.position]);
    }
    part_->lines.push_back(line_);
    return true;
  }

  /// Begins a part where the number of the datum changes.
  void TakeStamp(const Fields& fields) {
    const std::string_view datum = fields[*selection_.datum];
    if (part_->stamp && datum == datum_) return;
    if (part_->stamp) BeginPart();
    datum_ = datum;
    try {
      part_->stamp = Stamp{ParseTime(std::string(fields[*selection_.time])), {}};
    } catch (const Failure& failure) {
      Fail("{}: line {}: {}", path_, line_, failure.what());
    }
    if (!selection_.tag_x) return;
    double x = 0, y = 0;
    for (const auto& [field, value] :
         {std::pair(fields[*selection_.tag_x], &x), std::pair(fields[*selection_.tag_x + 1], &y)})
      if (!ReadNumber(field, *value)) FailForField(path_, line_, field);
    part_->stamp->position = {x, y};
  }

  /// Takes a line that may be blank or hold a comment. Without positions, a line without values between
  /// others is one of missing values.
  void TakeOther(std::string_view line) {
    const std::string_view part = splitter_.WithoutComment(line);
    const Fields& fields = splitter_.Split(part, layout_.fields);
    if (!fields.empty()) {
      TakeGap();
      if (!bTaken(fields)) FailForLine(fields);
    } else if (part.size() == line.size() && !selection_.position) {
      gap_.push_back(line_);
    }
  }

  void TakeGap() {
    const Fields none(layout_.fields);
    for (const int line : std::exchange(gap_, {})) {
      const int here = std::exchange(line_, line);
      bTaken(none);
      line_ = here;
    }
  }

  /// A field that is not a number explains more than the number of fields.
  [[noreturn]] void FailForLine(const Fields& fields) const {
    const bool whole = fields.size() == layout_.fields;
    const auto check = [&](std::string_view field) {
      double number = 0;
      if (ReadNumber(field, number, layout_.notation.decimal) || missing_.bWord(field)) return;
      FailForField(path_, line_, field,
                   field.empty()
                       ? ""
                       : "; --missing WORD names a word for a missing value, and --comment MARK a comment");
    };
    if (whole && selection_.position) {
      const std::string_view field = fields[*selection_.position];
      if (missing_.bWord(field)) Fail("{}: line {}: the position is missing", path_, line_);
      check(field);
    }
    if (whole) {
      for (const std::size_t f : selection_.values) check(fields[f]);
      Fail("{}: line {}: the position is not finite", path_, line_);
    }
    for (std::size_t f = 0; f < fields.size(); ++f) {
      if (f >= layout_.fields || layout_.numeric[f]) check(fields[f]);
    }
    Fail("{}: line {} has {}, and those before it have {}", path_, line_,
         Count(static_cast<std::int64_t>(fields.size()), "field", "fields"), layout_.fields);
  }

  /// The name of a column in quotes, or else its number.
  std::string Quoted(std::size_t f) const {
    const std::string name = NameOf(f);
    return name.empty() ? fmt::format("column {}", f + 1) : '\'' + Shortened(name, 40) + '\'';
  }

  std::string Found() const {
    const auto& [delimiter, decimal] = layout_.notation;
    const bool blanks = delimiter == ' ' || delimiter == '\t',
               numeric = layout_.numeric == std::vector<bool>(layout_.fields, true);
    if (blanks && decimal == '.' && layout_.fields <= 2 && numeric && layout_.names.empty() &&
        layout_.header_lines == 0)
      return "";
    std::vector<std::string> found;
    if (layout_.fields > 1) {
      std::string_view rest = text_.substr(layout_.begin);
      const bool tabs = TakeLine(rest).find('\t') != rest.npos;
      found.push_back("columns separated by " + (!blanks ? fmt::format("'{}'", delimiter)
                                                 : tabs  ? "tabs"
                                                         : "blanks"));
    }
    if (layout_.assumed) found.emplace_back("not numbers with a decimal comma (--decimal , reads them so)");
    if (decimal == ',') found.emplace_back("decimal comma");
    if (layout_.header_lines > 0) found.push_back(Count(layout_.header_lines, "header line", "header lines"));
    std::string columns;
    if (selection_.bTable()) {
      columns = Count(std::ssize(result_.parts), "datum", "data") + " as 'dseries export' writes them";
    } else {
      columns = selection_.position ? fmt::format("positions {}, values ", Quoted(*selection_.position))
                                    : "values ";
      constexpr std::size_t most = 5;
      const std::size_t n = selection_.values.size();
      for (std::size_t i = 0; i < n; ++i) {
        if (n > most && i == most - 2) {
          columns += ", ...";
          i = n - 1;
        }
        columns += (i == 0 ? "" : ", ") + Quoted(selection_.values[i]);
      }
      if (n > 1) columns += fmt::format(" ({} data)", n);
      for (std::size_t f = 0; usual_ && f < layout_.fields; ++f) {
        if (!layout_.numeric[f]) columns += fmt::format(", {} without numbers left out", Quoted(f));
      }
    }
    return fmt::format("{}{}{}", fmt::join(found, ", "), found.empty() ? "" : "; ", columns);
  }

  const std::string& path_;
  std::string_view text_;
  MissingWords missing_;
  Layout layout_;
  Splitter splitter_;
  Selection selection_;
  bool usual_ = true;
  int line_;
  std::vector<int> gap_;                      ///< the last lines, without values
  std::vector<std::pair<double, bool>> row_;  ///< the values of a line, and whether they are missing
  std::string datum_;                         ///< the number of the datum of the last part
  Text result_;
  Columns* part_ = nullptr;
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
    } else if (c == '.' || c == ',') {
      point = true;
    } else if (c == 'e' || c == 'E' || c == 'd' || c == 'D') {
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

Text ReadColumns(const std::string& path, std::string bytes, const TextForm& form) {
  const std::string text = TextOf(path, std::move(bytes));
  return ColumnReader(path, text, form).Read();
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
