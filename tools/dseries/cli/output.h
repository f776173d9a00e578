#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "cli/view.h"
#include "figure/plane.h"
#include <DataStorage/data/darray1d.h>

namespace dseries {

/// Where to write an array as text or as a picture; with an empty path it is only described.
struct Output : Target {
  int precision = 0;  ///< significant digits of text; 0: as many as the values need
};

void AddOutput(CLI::App& command, Output& output, const std::string& help);

/// Writes positions and values as text. `source` as for WriteWhole.
void WriteColumns(const darr_c1DArray& array, const Output& output, const std::string& source);

/// Writes the chosen part of a 2D array: one line as text, anything else as WritePlane does. Throws Failure
/// without an output path.
void WritePlaneOrLine(const darr_c2DArray& array, const View& view, const Drawing& drawing,
                      const Output& output, const std::string& source);

}  // namespace dseries
