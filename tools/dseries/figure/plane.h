#pragma once

#include <string>

#include "figure/drawing.h"
#include "io/files.h"
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// Writes a picture, a NumPy array or the raw form, by the extension of the file, and reports it on standard
/// output. A picture holds the values themselves, or greys and colours if the drawing stretches them. Throws
/// Failure for values that the format cannot hold. `source` as for WriteWhole.
void WritePlane(const Target& target, const darr_c2DArray& array, const Drawing& drawing,
                const std::string& source);
/// Throws Failure when WritePlane could not write to a file of this name.
void CheckPlaneName(const std::string& path);
/// Whether a file of this name can hold whole numbers only, of 8 or 16 bits.
bool bGreysOnly(const std::string& path);

}  // namespace dseries
