#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "file/series.h"

// What the data of a series look like, in memory that does not grow with their number.

namespace dseries {

/// The range from the lowest to the highest of some numbers.
struct Extremes {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;

  void Add(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  bool bOne() const { return low == high; }
};

/// An axis within the data of a series.
struct AxisStructure {
  Extremes size;      ///< the number of elements along it
  Extremes position;  ///< of the first and the last element; empty when there are no elements
  Extremes step;
  bool same = true;  ///< whether all data with elements have the same one

  void Add(const cal_cArrayCal& cal, int n);

 private:
  cal_cArrayCal first_;
};

struct Structure {
  std::map<dtyp_eDataType, int> types;  ///< the number of data with elements of each type
  std::vector<AxisStructure> axes;      ///< x, and y for 2D data
  int unreadable = 0;                   ///< data whose beginning is damaged
};

/// Describes data of this known type by what stands before their elements, which is all that it reads. Calls
/// `progress` with the number of data that are done.
Structure StructureOf(const Series& series, unsigned int data_type,
                      const std::function<void(int done, int data)>& progress);

/// The lowest, the highest and the mean of some elements.
struct Statistics {
  Extremes extremes;  ///< of the elements that are numbers, infinities included
  std::int64_t numbers = 0;
  std::int64_t not_a_numbers = 0;

  /// Adds all elements of an array.
  template <class Array>
  void Add(const Array& array);
  /// Not-a-number without numbers.
  double Mean() const { return mean_; }

 private:
  void AddValues(const double* values, int n);

  double mean_ = std::numeric_limits<double>::quiet_NaN();
};

/// Reads all data. Throws Failure when one is damaged.
Statistics StatisticsOf(const std::string& path, const std::function<void(int done, int data)>& progress);

template <class Array>
void Statistics::Add(const Array& array) {
  Array doubles(array);
  doubles.Convert(dtyp_Float64);
  AddValues(static_cast<const double*>(doubles.Data()), array.NumIndices());
}

}  // namespace dseries
