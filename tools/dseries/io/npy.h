#pragma once

#include <optional>
#include <string>
#include <vector>

#include <DataStorage/numbers/datatype.h>

// NumPy files of records (.npy): a header, then the records without padding.

namespace dseries {

/// A field of each record.
struct NpyField {
  std::string name;          ///< UTF-8, unique
  std::string type;          ///< its NumPy name, such as "<f8"
  std::vector<int> extents;  ///< the slowest dimension first; empty: a single value
};

/// The NumPy name of an element type.
std::string NpyType(dtyp_cDataType type);

/// The header of a file with an array of so many records, or, without a number, with a single record.
std::string NpyHeader(const std::vector<NpyField>& fields, std::optional<int> records);

}  // namespace dseries
