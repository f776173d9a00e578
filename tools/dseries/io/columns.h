#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/layout.h"
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

/// When and where a datum was taken.
struct Stamp {
  long time = 0;
  std::optional<std::pair<double, double>> position;
};

/// A column of values.
struct Values {
  std::vector<double> values;  ///< not-a-number for missing ones
  std::string name;            ///< with units in brackets; empty: not known
  int missing = 0;             ///< the number of missing values
  int first_missing = 0;       ///< the line of the first of them
};

/// Columns of values, with positions if the text has them.
struct Columns {
  std::vector<double> positions;  ///< empty: the text has none
  std::string position_name;      ///< as that of values
  std::vector<int> lines;         ///< the line of each row, from 1
  PrintedDigits digits;           ///< of the positions
  std::vector<Values> data;       ///< one or more
  std::optional<Stamp> stamp;     ///< in the tables that 'dseries export' writes
};

struct Text {
  std::vector<Columns>
      parts;          ///< several: a table that 'dseries export' has written, with a part for each datum
  std::string found;  ///< what the text looks like, in a line; empty for plain numbers, one or two on a line
};

/// Reads a text of numbers in columns. By default the first column holds the positions and each further one
/// the values of a datum; a single column holds values. Words for missing values and empty fields become
/// not-a-number; so do empty lines in a text of one column. Comments and, in a text of several columns, empty
/// lines are skipped. Throws Failure, with the line, for anything else that is not a number.
Text ReadColumns(const std::string& path, std::string bytes, const TextForm& form);

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
