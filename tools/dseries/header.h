#pragma once

#include <cstdint>
#include <string>

#include <DataStorage/interfaces/bstr.h>

namespace dseries {

/// The fixed words at the start of a series file, as they stand there: nothing is known of them but that they
/// can be read.
struct Header {
  std::uint16_t mark;
  std::uint16_t format;
  std::uint16_t version;
  std::uint32_t data_type;
  std::uint32_t tag_type;  ///< 0 until the first tag is stored
  std::int32_t total;      ///< data slots
  std::int32_t valid;      ///< valid data
  std::int32_t lists;      ///< position of the offset lists

  static constexpr std::int64_t size = 26;
};

/// Opens a file for reading, or throws a Failure that says why it cannot.
bstr_cBinary_fstream OpenToRead(const std::string& path);

/// Reads the words at the start of a file. Throws Failure when it is not a series file of the version known
/// here, or holds data of a type that is unknown here.
Header ReadHeader(bstr_cBinary_fstream& file);
Header ReadHeader(const std::string& path);

/// What the data of a series are, in the plural, and what its tags tell; null for unknown identifiers.
const char* DataTypeName(std::uint32_t data_type);
const char* TagTypeName(std::uint32_t tag_type);

}  // namespace dseries
