#include "file/kinds.h"

#include <fmt/format.h>

#include <DataStorage/interfaces/constants.h>

namespace dseries {

bool bKnownDataType(std::uint32_t data_type) {
  return data_type == obty_1DDataArrayType || data_type == obty_2DDataArrayType;
}

bool bKnownTagType(std::uint32_t tag_type) {
  return tag_type == obty_DataTagType || tag_type == obty_2DPositionType;
}

std::string DataTypeName(std::uint32_t data_type) {
  if (data_type == obty_1DDataArrayType) return "1D data arrays";
  if (data_type == obty_2DDataArrayType) return "2D data arrays";
  return fmt::format("data of a kind unknown here (identifier 0x{:04x})", data_type);
}

std::string TagTypeName(std::uint32_t tag_type) {
  if (tag_type == obty_DataTagType) return "time";
  if (tag_type == obty_2DPositionType) return "time and 2D position";
  return fmt::format("time and more, of a kind unknown here (identifier 0x{:04x})", tag_type);
}

}  // namespace dseries
