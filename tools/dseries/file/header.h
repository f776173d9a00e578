#pragma once

#include <cstdint>
#include <string>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/series/seriesformat.h>

namespace dseries {

using Header = detail::SeriesHeader;

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
