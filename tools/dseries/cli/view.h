#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <vector>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// Options of the commands that cut 2D data arrays.

namespace dseries {

/// The chosen part of a 2D data array; empty members were not given.
struct PlaneView {
  std::vector<double> region;    ///< two opposite corners: X1, Y1, X2, Y2
  std::vector<double> rescale;   ///< new distances between elements: DX, DY
  std::optional<double> row;     ///< the Y position of one row
  std::optional<double> column;  ///< the X position of one column

  bool bLine() const { return row || column; }
  bool bNone() const { return region.empty() && rescale.empty() && !bLine(); }
};

void AddView(CLI::App& command, PlaneView& view);

/// The chosen region, rescaled. Throws Failure when the array has no data there, or for invalid distances.
darr_c2DArray Cut(const darr_c2DArray& array, const PlaneView& view);
/// The chosen row or column. Requires view.bLine(). Throws Failure when it lies outside.
darr_c1DArray Line(const darr_c2DArray& array, const PlaneView& view);

}  // namespace dseries
