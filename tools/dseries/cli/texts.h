#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "figure/drawing.h"
#include "io/columns.h"

// Texts of numbers, shown as they are: their positions need not be even.

namespace dseries {

/// Whether a file that exists is no series file, so that it may be a text.
bool bNoSeries(const std::string& path);

/// The values of each column over the positions. Writes what the text looks like to standard error.
Figure FigureOfText(const std::string& path, std::string bytes, const TextForm& form, const Drawing& drawing,
                    Caption caption);

/// What the text looks like, and the number of values in its columns and their range.
std::string InfoOfText(const std::string& path, const TextForm& form = {});
nlohmann::ordered_json InfoOfTextAsJson(const std::string& path, const TextForm& form = {});

}  // namespace dseries
