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
bstr_cBinary_fstream OpenToRead(const std::string& path, const char* advice = "");

/// Whether a file begins like a series file, of whatever version it is.
bool bSeriesFile(const std::string& path);

/// Reads the words at the start of a file. Throws Failure when it is not a series file of the version known
/// here.
Header ReadHeader(bstr_cBinary_fstream& file);
Header ReadHeader(const std::string& path);
/// The data type in the header. Throws Failure, likewise, when data of this type are unknown here.
std::uint32_t KnownDataType(const std::string& path);

// Data and tags of kinds that are unknown here belong to other programs.
bool bKnownDataType(std::uint32_t data_type);
bool bKnownTagType(std::uint32_t tag_type);
/// What the data of a series are, in the plural, and what its tags tell.
std::string DataTypeName(std::uint32_t data_type);
std::string TagTypeName(std::uint32_t tag_type);

/// Throws a Failure about a series file that is damaged, with the commands that look further.
[[noreturn]] void FailForDamage(const std::string& path, const std::string& what);

}  // namespace dseries
