#pragma once

#include <string>

#include "figure/drawing.h"
#include "io/files.h"
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// Writes the picture or the raw form, as the name of the file demands, and tells on standard output what
/// was written. `source` as for WriteWhole.
void WritePlane(const Target& target, const darr_c2DArray& array, const Drawing& drawing,
                const std::string& source);
/// Throws Failure when WritePlane could not write to a file of this name.
void CheckPlaneName(const std::string& path);

}  // namespace dseries
