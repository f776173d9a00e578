#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <vector>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// Options of the commands that cut data arrays.

namespace dseries {

/// The chosen part of a data array; empty members were not given.
struct View {
  std::vector<double> region;                 ///< X1, X2 or, in a plane, two opposite corners: X1, Y1, X2, Y2
  rnge_eIndexSelect cells = rnge_IndexOuter;  ///< which cells at the ends of the region belong to it
  std::vector<double> rescale;                ///< new distances between elements: DX, DY
  std::optional<double> row;                  ///< the Y position of one row
  std::optional<double> column;               ///< the X position of one column

  bool bLine() const { return row || column; }
  /// Whether nothing is cut that only a plane has.
  bool bNoPlane() const { return rescale.empty() && !bLine(); }
  bool bNone() const { return region.empty() && bNoPlane(); }
};

/// Adds all options; AddRegion adds only those that 1D data have, too.
void AddView(CLI::App& command, View& view);
void AddRegion(CLI::App& command, View& view);
/// Adds the option for the rule at the ends of a region.
void AddCells(CLI::App& command, rnge_eIndexSelect& cells);

/// The elements along an axis of `count` that a range between two positions selects, also where positions
/// fall; none of them may be left.
rnge_c1DIndexRange CellsBetween(const cal_cArrayCal& cal, int count, double a, double b,
                                rnge_eIndexSelect cells);

/// The chosen region, rescaled. Throws Failure when the array has no data there, for invalid distances, and
/// for parts of planes of 1D data.
darr_c1DArray Cut(const darr_c1DArray& array, const View& view);
darr_c2DArray Cut(const darr_c2DArray& array, const View& view);
/// The columns of a plane in a region of its X axis.
darr_c2DArray CutColumns(const darr_c2DArray& array, const View& view);
/// The chosen row or column. Requires view.bLine(). Throws Failure when it lies outside.
darr_c1DArray Line(const darr_c2DArray& array, const View& view);

}  // namespace dseries
