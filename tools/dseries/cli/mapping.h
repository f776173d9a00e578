#pragma once

#include <CLI/CLI.hpp>
#include <limits>
#include <string>

#include "figure/drawing.h"
#include "file/series.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// Maps: each datum of a raster becomes one pixel.

namespace dseries {

/// How the elements of a datum become one value, and which of them.
struct Mapping {
  enum Kind { Sum, Mean, Max, Min, At };

  Kind kind = Sum;
  double from = std::numeric_limits<double>::quiet_NaN();  ///< not-a-number: from the first element
  double to = std::numeric_limits<double>::quiet_NaN();    ///< not-a-number: to the last one
  rnge_eIndexSelect cells = rnge_IndexOuter;
};

void AddMapping(CLI::App& command, Mapping& mapping);

/// The values of a map, not-a-number where there are no data.
class PixelMap {
 public:
  /// Over the dimensions x and y of these.
  PixelMap(const dtsr_cDimensionArray& dimensions, int x, int y, const Mapping& mapping);

  void Add(const darr_c1DArray& datum, int i);
  /// Whether any datum had elements in the range.
  bool bFound() const { return found_; }
  darr_c2DArray Plane() const;
  /// Its title and labels, with those of the series.
  Caption CaptionOf(const std::string& file) const;

 private:
  dtsr_cDimensionArray dimensions_;
  int x_, y_;
  Mapping mapping_;
  arr_c2DNumberArray<double> values_;
  bool found_ = false;
};

}  // namespace dseries
