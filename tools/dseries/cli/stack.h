#pragma once

#include <string>
#include <vector>

#include "cli/view.h"
#include "file/series.h"

namespace dseries {

/// 1D data as the rows of a plane, the first of them at the bottom.
struct Stack {
  darr_c2DArray plane;    ///< not-a-number where a datum has no element
  std::string row_label;  ///< what the rows lie along: a dimension, if the data lie evenly along one
  std::string place;      ///< that of all data along the other dimensions
};

/// Stacks the elements in the region of the view. Throws Failure when the axes of the data do not have the
/// same grid, and when there are too many elements for a picture.
Stack StackOf(DataSeries<darr_c1DArray>& series, std::vector<int> data, const View& view);

}  // namespace dseries
