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

/// The number of digits with which numbers were printed, after the decimal point and in all: programs keep
/// one of the two constant, and may omit trailing zeros.
struct PrintedDigits {
  int decimals = std::numeric_limits<int>::min();
  int significant = 0;

  void Add(std::string_view number);
  /// The value of the last of these digits in a number.
  double Unit(double number) const;
};

/// Values, with positions if the text has them.
struct Columns {
  std::vector<double> positions;  ///< empty: the text has none
  std::vector<double> values;     ///< not-a-number for missing ones
  std::vector<int> lines;         ///< the line of each, from 1
  PrintedDigits digits;           ///< of the positions
  int missing = 0;                ///< the number of missing values
  int first_missing = 0;          ///< the line of the first of them
};

/// Reads lines of one field (a value) or two (a position and a value), as many as the first line has. Fields
/// are separated by blanks or tabs. Words for missing values, which `missing` adds to, and empty fields
/// between tabs become not-a-number; so do empty lines in a text of one column. Throws Failure, with the
/// line, for anything else that is not a number.
Columns ReadColumns(const std::string& path, std::string_view text, const std::vector<std::string>& missing);

/// How the grid of positions is found.
struct GridForm {
  bool even = false;  ///< accepts positions that are uneven beyond their printed digits
  double delta = 0;   ///< the step; 0: it follows from the first and the last position
};

struct Grid {
  cal_cArrayCal cal;  ///< in the order of the lines: its delta is negative for falling positions
  std::optional<std::size_t> moved;  ///< the position that is moved most; none if all are even within their
                                     ///< printed digits
};

/// Throws Failure, with the line, when the positions change direction, are uneven, or would move by more than
/// half a step.
Grid GridOf(const std::string& path, const Columns& columns, const GridForm& form);

}  // namespace dseries
