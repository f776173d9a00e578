#include "file/header.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include "file/failure.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

bstr_cBinary_fstream OpenToRead(const std::string& path, const char* advice) {
  bstr_cBinary_fstream file(str_cString(path.c_str()), bstr_OpenReadOnly);
  if (!file.Input().bGood()) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(status)) Fail("there is no file {}{}", path, advice);
    if (std::filesystem::is_directory(status)) Fail("{} is a folder; name the files in it", path);
    if (!std::filesystem::is_regular_file(status)) {
      Fail("{} is no regular file; series are not read from pipes and devices", path);
    }
    if (access(path.c_str(), R_OK) != 0) Fail("{} cannot be read: {}", path, std::strerror(errno));
    Fail("{} cannot be read", path);
  }
  return file;
}

bool bSeriesFile(const std::string& path) {
  bstr_cBinary_fstream file(str_cString(path.c_str()), bstr_OpenReadOnly);
  Header header;
  return bstr_ReadFields(file.Input(), header.mark, header.format) && header.bSeriesFile();
}

Header ReadHeader(bstr_cBinary_fstream& file) {
  const char* path = file.Path().CString();
  bstr_cBinary_istream& in = file.Input();
  Header header;
  const bool whole = header.ReadKind(in) && header.ReadContents(in);
  constexpr const char* advice =
      "'dseries create' makes series files, and 'dseries append' stores texts, pictures and raw numbers in "
      "them";
  if (in.Size() == 0) Fail("{} is empty; {}", path, advice);
  if (!whole) {
    Fail("{} is not a series file: it ends after {}, before a header would; {}", path, SizeText(in.Size()),
         advice);
  }
  if (!header.bSeriesFile()) {
    Fail("{} is not a series file: it does not begin like one; {}", path, advice);
  }
  if (header.version != Header::KnownVersion) {
    Fail("{} is a series file of version {:04x}; only {:04x} is known here, so a newer program may read it",
         path, header.version, Header::KnownVersion);
  }
  return header;
}

Header ReadHeader(const std::string& path) {
  bstr_cBinary_fstream file = OpenToRead(path, "; 'dseries create' makes series files");
  return ReadHeader(file);
}

std::uint32_t KnownDataType(const std::string& path) {
  const std::uint32_t data_type = ReadHeader(path).dataType;
  if (!bKnownDataType(data_type)) {
    Fail("{} holds {}; info, list, verify and repair work on it", path, DataTypeName(data_type));
  }
  return data_type;
}

bool bKnownDataType(std::uint32_t data_type) {
  return data_type == obty_1DDataArrayType || data_type == obty_2DDataArrayType;
}

bool bKnownTagType(std::uint32_t tag_type) {
  return tag_type == obty_DataTagType || tag_type == obty_2DPositionType;
}

std::string DataTypeName(std::uint32_t data_type) {
  switch (data_type) {
    case obty_1DDataArrayType:
      return "1D data arrays";
    case obty_2DDataArrayType:
      return "2D data arrays";
    default:
      return fmt::format("data of a kind unknown here (identifier 0x{:04x})", data_type);
  }
}

std::string TagTypeName(std::uint32_t tag_type) {
  switch (tag_type) {
    case obty_DataTagType:
      return "time";
    case obty_2DPositionType:
      return "time and 2D position";
    default:
      return fmt::format("time and more, of a kind unknown here (identifier 0x{:04x})", tag_type);
  }
}

void FailForDamage(const std::string& path, const std::string& what) {
  const std::string word = ShellWord(path);
  Fail("{}; 'dseries verify {}' lists what is damaged, 'dseries repair {} -o NEW' saves what is whole", what,
       word, word);
}

}  // namespace dseries
