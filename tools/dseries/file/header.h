#pragma once

#include <cstdint>
#include <string>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/series/detail/seriesformat.h>

namespace dseries {

using Header = detail::SeriesHeader;

/// Whether a file begins like a series file, of any version.
bool bSeriesFile(const std::string& path);
bool bSeriesFile(bstr_cBinary_istream& in);

/// Reads the header at the start of a file. Throws Failure when it is not a series file of the version known
/// here.
Header ReadHeader(bstr_cBinary_fstream& file);
Header ReadHeader(const std::string& path);
/// The data type in the header. Throws Failure also when data of this type are unknown here.
std::uint32_t KnownDataType(const std::string& path);

}  // namespace dseries
