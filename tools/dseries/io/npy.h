#pragma once

#include <optional>
#include <string>
#include <vector>

#include <DataStorage/numbers/datatype.h>

// Files of records as NumPy stores them (.npy): a header, behind which the records follow without padding.

namespace dseries {

/// What each record holds under a name.
struct NpyField {
  std::string name;          ///< UTF-8; no two fields have the same
  std::string type;          ///< as NumPy writes it, such as "<f8"
  std::vector<int> extents;  ///< the slowest dimension first; none: a single value
};

/// How NumPy writes an element type.
std::string NpyType(dtyp_cDataType type);

/// The header of a file with so many records, or with a single one that is no array.
std::string NpyHeader(const std::vector<NpyField>& fields, std::optional<int> records);

}  // namespace dseries
