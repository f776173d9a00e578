#include "series.h"

#include <cstdint>

#include "header.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

dtsr_cDimensionArray DimensionsOf(dtsr_cFileSeriesBase& file) {
  dtsr_cDimensionArray dimensions;
  file.ReadDimensionArray(dimensions);
  return dimensions;
}

}  // namespace

std::unique_ptr<dtsr_cDataTag> MakeTag(unsigned int tag_type) {
  switch (tag_type) {
    case obty_DataTagType:
      return std::make_unique<dtsr_cDataTag>();
    case obty_2DPositionType:
      return std::make_unique<dtsr_c2DPosition>();
    default:
      Fail("the data have tags of an unknown kind (identifier 0x{:04x})", tag_type);
  }
}

Series::Series(const std::string& path) : Series(path, ReadHeader(path).data_type, bstr_OpenReadOnly) {}

Series::Series(const std::string& path, const dtsr_cDimensionArray& dimensions, unsigned int data_type)
    : dtsr_cFileSeriesBase(str_cString(path.c_str()), dimensions, data_type),
      dtsr_cDataSeriesBase(dimensions) {}

Series::Series(const std::string& path, unsigned int data_type, bstr_eAccess access)
    : dtsr_cFileSeriesBase(str_cString(path.c_str()), data_type, access),
      dtsr_cDataSeriesBase(DimensionsOf(*this)) {}

unsigned int Series::TagTypeID() const {
  std::uint32_t tag_type = dtsr_cFileSeriesBase::TagTypeID();
  if (tag_type == 0 && NextWriteIndex() > 0) {
    bstr_cBinary_istream& in = file_.Input();
    if (in.Seek(tagOffsets_[0])) bstr_ReadFields(in, tag_type);
  }
  return tag_type;
}

std::unique_ptr<dtsr_cDataTag> Series::Tag(int i) const {
  std::unique_ptr<dtsr_cDataTag> tag = MakeTag(TagTypeID());
  GetTag(i, *tag);
  return tag;
}

}  // namespace dseries
