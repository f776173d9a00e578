#include "file/header.h"

#include "file/failure.h"
#include "file/kinds.h"
#include "file/reading.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

bool bSeriesFile(const std::string& path) {
  bstr_cBinary_fstream file(str_cString(path.c_str()), bstr_OpenReadOnly);
  return bSeriesFile(file.Input());
}

bool bSeriesFile(bstr_cBinary_istream& in) {
  Header header;
  return bstr_ReadFields(in, header.mark, header.format) && header.bSeriesFile();
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
    Fail("{} is not a series file: it ends after {}, within the header; {}", path, SizeText(in.Size()),
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

}  // namespace dseries
