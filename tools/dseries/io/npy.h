#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <DataStorage/numbers/datatype.h>

// NumPy files (.npy): a header, then the elements or, without padding, records.

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
/// The header of a file with an array of these extents, the slowest dimension first.
std::string NpyHeader(dtyp_cDataType type, const std::vector<int>& extents);

struct NpyArray {
  dtyp_cDataType type;
  std::vector<int> extents;    ///< the slowest dimension first
  std::vector<char> elements;  ///< in the order of the host, the last dimension fastest
};

/// Whether these are the bytes of a NumPy file.
bool bNpy(std::string_view bytes);
/// Reads an array of any byte order and order of the axes. Element types that are not those of a series
/// become the smallest that holds every value: bool ubin8, int8 sbin16, float16 float32, and int64 and uint64
/// float64. Throws Failure for integers that a float64 does not hold, for other types, by their name, and for
/// damaged files.
NpyArray ReadNpy(const std::string& path, std::string_view bytes);

}  // namespace dseries
