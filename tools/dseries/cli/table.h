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

  explicit Table(std::vector<Align> columns) : columns_(std::move(columns)) {}

  /// Adds a row of headings. Requires that all rows before it are headings.
  void Heading(std::vector<std::string> cells) {
    Row(std::move(cells));
    headings_ = rows_.size();
  }
  void Row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  /// The rows as lines, indented by `indent`, with cells two blanks apart. Names and headings are shortened,
  /// the longest first, until the lines fit a terminal of 80 columns.
  std::string Text(int indent = 0) const;

 private:
  /// The widths of the columns; wider cells must be shortened.
  std::vector<std::size_t> Widths(std::size_t room) const;
  bool bMayShrink(std::size_t row, std::size_t column) const {
    return row < headings_ || columns_[column] == Name;
  }

  std::vector<Align> columns_;
  std::size_t headings_ = 0;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace dseries
