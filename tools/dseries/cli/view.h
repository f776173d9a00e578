#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <vector>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// What the commands have in common that cut 2D data arrays.

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

}  // namespace dseries
