#pragma once

#include <string>
#include <vector>

#include <DataStorage/series/dimension.h>

namespace dseries {

/// Reads the dimensions of a new series, each written as "name,units,size,offset,delta[,reverse]". Throws
/// Failure for what is no dimension and for dimensions that leave no room for data in a series file.
dtsr_cDimensionArray ParseDimensions(const std::vector<std::string>& texts);

/// The linear index of an index vector or a position vector. Throws Failure when the vector has not one entry
/// for each dimension, or one of them lies outside its dimension.
int LinearIndex(const dtsr_cDimensionArray& dimensions, const std::vector<int>& indices);
int LinearIndex(const dtsr_cDimensionArray& dimensions, const std::vector<double>& positions);

/// The position of an index, with so many digits that it leads back to the index, and at least `digits`.
std::string PositionText(const dtsr_cDimension& dimension, int index, int digits = 10);

template <class T>
std::vector<T> VectorOf(const arr_cC_Array<T>& array) {
  return {array.Data(), array.Data() + array.Size()};
}

/// What messages call dimension d: its description, or its number where that is empty.
std::string NameOf(const dtsr_cDimensionArray& dimensions, int d);
/// The same with its units, as it stands at an axis.
std::string LabelOf(const dtsr_cDimensionArray& dimensions, int d);

}  // namespace dseries
