#pragma once

#include <cstdint>
#include <string>

namespace dseries {

// Data and tags of kinds that are unknown here belong to other programs.
bool bKnownDataType(std::uint32_t data_type);
bool bKnownTagType(std::uint32_t tag_type);
/// What the data and the tags of a series are, for messages.
std::string DataTypeName(std::uint32_t data_type);
std::string TagTypeName(std::uint32_t tag_type);

}  // namespace dseries
