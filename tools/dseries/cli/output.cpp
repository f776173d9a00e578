#include "cli/output.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <sstream>

#include "file/failure.h"
#include <DataStorage/data/asciirw.h>

namespace dseries {

namespace {

/// Significant digits in the shortest text that reads back to the same value.
template <class T>
int Digits(T value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
  return static_cast<int>(
      std::count_if(text, std::find(text, end, 'e'), [](char c) { return c >= '0' && c <= '9'; }));
}

/// The digits with which all values read back unchanged, and positions to a ten-thousandth of a step.
int PrecisionFor(const darr_c1DArray& array) {
  const int n = array.NumIndices();
  const double farthest = std::max(std::fabs(array.Cal().PositionX(0)), std::fabs(array.Cal().PositionX(n)));
  const double steps = farthest / std::fabs(array.DeltaX());
  constexpr double most = std::numeric_limits<double>::max_digits10;
  int digits = static_cast<int>(steps >= 1 ? std::min(std::floor(std::log10(steps)) + 5, most) : 5);
  const bool narrow = array.DataType() == dtyp_Float32;
  for (int i = 0; i < n; ++i) {
    const double value = array.Value(i).Value();
    digits = std::max(digits, narrow ? Digits(static_cast<float>(value)) : Digits(value));
  }
  return digits;
}

}  // namespace

void AddOutput(CLI::App& command, Output& output, const std::string& help) {
  AddTarget(command, output, help);
  command
      .add_option("--precision", output.precision,
                  "Significant digits in text; default: as many as the values need to be read back unchanged")
      ->type_name("N")
      ->check(CLI::Range(1, 17));
}

void WriteColumns(const darr_c1DArray& array, const Output& output, const std::string& source) {
  if (output.path != "-" && !bStream(output.path)) {
    CheckEnding(output.path, "columns of text are written", {"", ".txt", ".dat", ".tsv", ".asc", ".xy"});
  }
  std::ostringstream text;
  const int precision = output.precision > 0 ? output.precision : PrecisionFor(array);
  if (!asrw_WriteTwoColumn(text, array, precision, 0)) Fail("there is not enough memory");
  WriteWhole(output, text.view(), source);
}

void WritePlaneOrLine(const darr_c2DArray& array, const View& view, const Drawing& drawing,
                      const Output& output, const std::string& source) {
  if (output.path.empty()) Fail("--output is required: it names the file to write");
  if (!view.bLine()) {
    if (Extension(output.path) == ".txt") {
      Fail("only one line of 2D data can be written as text; choose it with --row-at or --column-at");
    }
    CheckPlaneName(output.path);
  }
  const darr_c2DArray cut = Cut(array, view);
  if (view.bLine()) return WriteColumns(Line(cut, view), output, source);
  if (output.precision > 0) Fail("--precision applies to columns of text, not to {}", output.path);
  WritePlane(output, cut, drawing, source);
}

}  // namespace dseries
