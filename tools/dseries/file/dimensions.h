#pragma once

#include <string>
#include <vector>

#include <DataStorage/series/dimension.h>

namespace dseries {

/// Reads the dimensions of a new series, each written as "name,units,size,offset,delta[,reverse]". Throws
/// Failure for invalid texts and for dimensions that leave no room for data in a series file.
dtsr_cDimensionArray ParseDimensions(const std::vector<std::string>& texts);

/// The linear index of an index vector or a position vector. Throws Failure when the vector does not have
/// one entry for each dimension, or an entry lies outside its dimension.
int LinearIndex(const dtsr_cDimensionArray& dimensions, const std::vector<int>& indices);
int LinearIndex(const dtsr_cDimensionArray& dimensions, const std::vector<double>& positions);

/// The position of an index, with at least `digits` digits and enough to convert it back to the index.
std::string PositionText(const dtsr_cDimension& dimension, int index, int digits = 10);

template <class T>
std::vector<T> VectorOf(const arr_cC_Array<T>& array) {
  return {array.Data(), array.Data() + array.Size()};
}

/// The name of dimension d in messages: its description, or its number if that is empty.
std::string NameOf(const dtsr_cDimensionArray& dimensions, int d);
/// The same with its units, as the label of an axis.
std::string LabelOf(const dtsr_cDimensionArray& dimensions, int d);

}  // namespace dseries
