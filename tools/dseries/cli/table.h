#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace dseries {

/// Columns that line up on a terminal, for any UTF-8 text.
class Table {
 public:
  /// Names are aligned left and may be shortened.
  enum Align { Left, Right, Name };

  using Cells = std::vector<std::string>;

  explicit Table(std::vector<Align> columns)
      : columns_(std::move(columns)), most_(columns_.size(), 0), least_(columns_.size(), 0) {}

  /// Adds a row of headings. Requires that all rows before it are headings.
  void Heading(Cells cells) {
    Measure(cells, true);
    rows_.push_back(std::move(cells));
    headings_ = rows_.size();
  }
  void Row(Cells cells) {
    Measure(cells, false);
    rows_.push_back(std::move(cells));
  }
  /// The rows as lines, indented by `indent`, with cells two blanks apart. Names and headings are shortened,
  /// the longest first, until the lines fit a terminal of 80 columns.
  std::string Text(int indent = 0) const;

  /// For rows that are too many to be kept: gives one room, before the text is made.
  void Measure(const Cells& cells) { Measure(cells, false); }
  /// The line of a row that was measured and is not kept.
  std::string Line(const Cells& cells) const { return Line(cells, Widths(Terminal), false); }

 private:
  static constexpr std::size_t Terminal = 80;

  void Measure(const Cells& cells, bool heading);
  /// The widths of the columns; wider cells must be shortened.
  std::vector<std::size_t> Widths(std::size_t room) const;
  std::string Line(const Cells& cells, const std::vector<std::size_t>& widths, bool heading) const;
  bool bMayShrink(bool heading, std::size_t column) const { return heading || columns_[column] == Name; }

  std::vector<Align> columns_;
  std::vector<std::size_t> most_, least_;  // how wide they would be, and must be at least
  std::size_t headings_ = 0;
  std::vector<Cells> rows_;
};

}  // namespace dseries
