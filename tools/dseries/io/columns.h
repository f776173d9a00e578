#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <DataStorage/calibration/arraycal.h>

// Texts of numbers, line by line.

namespace dseries {

/// With how many digits numbers were printed, either behind the decimal point or in all: a printer keeps one
/// of the two, and may leave out zeros at the end.
struct PrintedDigits {
  int decimals = std::numeric_limits<int>::min();
  int significant = 0;

  void Add(std::string_view number);
  /// What the last of these digits is worth in a number.
  double Unit(double number) const;
};

/// Values, with positions where the text has them.
struct Columns {
  std::vector<double> positions;  ///< empty: the text has none
  std::vector<double> values;     ///< not-a-number for those that are missing
  std::vector<int> lines;         ///< where each of them stands, counted from 1
  PrintedDigits digits;           ///< of the positions
  int missing = 0;                ///< values that the text does not have
  int first_missing = 0;          ///< the line of the first of them
};

/// Reads lines of one field (a value) or two (a position and a value), as many as the first line has. Fields
/// stand apart by blanks and tabs. A value that is a word for what is missing, one of `missing` among them,
/// or that is left out between tabs, becomes not-a-number; so does an empty line in a text of one column.
/// Throws Failure for anything else that is not a number, with its line.
Columns ReadColumns(const std::string& path, std::string_view text, const std::vector<std::string>& missing);

/// How the grid of positions is found.
struct GridForm {
  bool even = false;  ///< also where the positions are not even within the digits they are printed with
  double delta = 0;   ///< the step; 0: it follows from the first and the last position
};

struct Grid {
  cal_cArrayCal cal;  ///< of the positions in the order of the lines: its delta is below 0 where they fall
  std::optional<std::size_t> moved;  ///< the position farthest from its place; none where all of them lie as
                                     ///< near as they were printed
};

/// Throws Failure, with the line, when the positions do not go on in one direction, are uneven, or would lie
/// more than half a step off.
Grid GridOf(const std::string& path, const Columns& columns, const GridForm& form);

}  // namespace dseries
