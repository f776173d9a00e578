#include "header.h"

#include <filesystem>

#include "failure.h"
#include "format.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

bstr_cBinary_fstream OpenToRead(const std::string& path) {
  bstr_cBinary_fstream file(str_cString(path.c_str()), bstr_OpenReadOnly);
  if (!file.Input().bGood()) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(status)) Fail("there is no file {}", path);
    if (std::filesystem::is_directory(status)) Fail("{} is a folder", path);
    Fail("{} cannot be read", path);
  }
  return file;
}

Header ReadHeader(bstr_cBinary_fstream& file) {
  constexpr std::uint16_t known_version = 0x0210;
  const char* path = file.Path().CString();
  bstr_cBinary_istream& in = file.Input();
  Header header;
  const bool whole = bstr_ReadFields(in, header.mark, header.format, header.version, header.data_type,
                                     header.tag_type, header.total, header.valid, header.lists);
  if (!whole) {
    Fail("{} is not a series file: it ends after {}, before its header does", path, SizeText(in.Size()));
  }
  if (header.mark != flfm_LittleEndian || header.format != flfm_DataSeriesID) {
    Fail("{} is not a series file: it does not begin like one", path);
  }
  if (header.version != known_version) {
    Fail("{} is a series file of version {:04x}; only {:04x} is known here", path, header.version,
         known_version);
  }
  if (DataTypeName(header.data_type) == nullptr) {
    Fail("{} holds data of an unknown type (identifier 0x{:04x})", path, header.data_type);
  }
  return header;
}

Header ReadHeader(const std::string& path) {
  bstr_cBinary_fstream file = OpenToRead(path);
  return ReadHeader(file);
}

const char* DataTypeName(std::uint32_t data_type) {
  switch (data_type) {
    case obty_1DDataArrayType:
      return "1D data arrays";
    case obty_2DDataArrayType:
      return "2D data arrays";
    default:
      return nullptr;
  }
}

const char* TagTypeName(std::uint32_t tag_type) {
  switch (tag_type) {
    case obty_DataTagType:
      return "time";
    case obty_2DPositionType:
      return "time and 2D position";
    default:
      return nullptr;
  }
}

}  // namespace dseries
