#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "figure/drawing.h"
#include "io/files.h"
#include <DataStorage/data/darray2d.h>

// What the commands have in common that cut 2D data arrays or write them.

namespace dseries {

/// What of a 2D data array is wanted; members that are empty were not given.
struct PlaneView {
  std::vector<double> region;    ///< two opposite corners: X1, Y1, X2, Y2
  std::vector<double> rescale;   ///< new distances of the elements: DX, DY
  std::optional<double> row;     ///< the Y position of one row
  std::optional<double> column;  ///< the X position of one column

  bool bLine() const { return row || column; }
  bool bNone() const { return region.empty() && rescale.empty() && !bLine(); }
};

void AddView(CLI::App& command, PlaneView& view);

/// The region, rescaled. Throws Failure when the array has nothing there.
darr_c2DArray Cut(const darr_c2DArray& array, const PlaneView& view);
/// The row or column that is wanted. Throws Failure when it lies outside.
darr_c1DArray Line(const darr_c2DArray& array, const PlaneView& view);

/// Reads the raw form of a 2D data array, to the end of the file, which may be a pipe.
darr_c2DArray ReadRawPlane(const std::string& path);
/// Whether a file is named as those are that hold the raw form.
bool bRawPlane(const std::string& path);
/// Whether it is a picture or a raw form: by its name, or because series are not read from pipes.
bool bPlane(const std::string& path);

/// Writes the picture or the raw form, as the name of the file demands, and tells on standard output what
/// was written. `source` as for WriteWhole.
void WritePlane(const Target& target, const darr_c2DArray& array, const Drawing& drawing,
                const std::string& source);
/// Throws Failure when WritePlane could not write to a file of this name.
void CheckPlaneName(const std::string& path);

}  // namespace dseries
