#include "file/series.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "file/header.h"
#include "file/kinds.h"
#include "file/reading.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

/// A tag of a kind that only another program knows.
class ForeignTag : public dtsr_cDataTag {
 public:
  ForeignTag(unsigned int kind, std::int64_t bytes)
      : dtsr_cDataTag(0),
        kind_(kind),
        rest_(static_cast<std::size_t>(std::max(bytes - detail::PlainTagLength, std::int64_t{0})), '\0') {}

  void Read(bstr_cBinary_istream& in) override {
    dtsr_cDataTag::Read(in);
    in.Read(rest_.data(), std::ssize(rest_));  // callers check the stream
  }
  void Write(bstr_cBinary_ostream& out) const override {
    dtsr_cDataTag::Write(out);
    out.Write(rest_.data(), std::ssize(rest_));
  }
  unsigned int TagTypeID() const override { return kind_; }
  dtsr_cDataTag* pCopy() const override { return new ForeignTag(*this); }

 private:
  unsigned int kind_;
  std::string rest_;
};

}  // namespace

std::unique_ptr<dtsr_cDataTag> MakeTag(unsigned int tag_type, std::int64_t bytes) {
  switch (tag_type) {
    case obty_DataTagType:
      return std::make_unique<dtsr_cDataTag>();
    case obty_2DPositionType:
      return std::make_unique<dtsr_c2DPosition>();
    default:
      return std::make_unique<ForeignTag>(tag_type, bytes);
  }
}

Series::Series(const std::string& path) : Series(path, ReadHeader(path).dataType, bstr_OpenReadOnly) {}

Series::Series(const std::string& path, const dtsr_cDimensionArray& dimensions, unsigned int data_type,
               bstr_eAccess access)
    : dtsr_cStoredSeries(path.c_str(), dimensions, data_type, access) {}

Series::Series(const std::string& path, unsigned int data_type, bstr_eAccess access) try
    : dtsr_cStoredSeries(path.c_str(), data_type, access) {
  const int next = NextWriteIndex();
  if (access != bstr_OpenReadOnly && next < Size() && dataOffsets_[next] < 0) {
    FailForDamage(path, path + " is damaged or cut off within its data, so that nothing can be appended");
  }
} catch (const dtsr_cFileLockedException&) {
  throw;
} catch (const expt_cUserException& error) {
  std::string message = error.Message().CString();
  message.erase(message.find_last_not_of('.') + 1);
  bstr_cBinary_fstream file(str_cString(path.c_str()), access);
  if (!file.Input().bGood() || (access != bstr_OpenReadOnly && !file.Output().bGood())) {
    Fail("{}: it can be read, but not written", message);
  }
  FailForDamage(path, message);
} catch (const expt_cProgramException&) {
  FailForDamage(path, path + " is damaged");
}

unsigned int Series::TagTypeID() const {
  std::uint32_t tag_type = dtsr_cFileSeriesBase::TagTypeID();
  if (tag_type == 0 && NextWriteIndex() > 0) {
    bstr_cBinary_istream& in = file_.Input();
    if (in.Seek(tagOffsets_[0])) bstr_ReadFields(in, tag_type);
  }
  return tag_type;
}

// Tags are read past what the library keeps of them in memory: a command looks at most of them once.

bool Series::bReadTag(int i, dtsr_cDataTag& tag) const {
  bstr_cBinary_istream& in = file_.Input();
  in.Seek(tagOffsets_[i]);
  tag.Read(in);
  return in.bGood();
}

std::unique_ptr<dtsr_cDataTag> Series::Tag(int i) const {
  const unsigned int tag_type = TagTypeID();
  std::int64_t bytes = 0;
  if (!bKnownTagType(tag_type)) {
    std::int64_t end = file_.Input().Size();
    if (i + 1 < Size()) end = std::min<std::int64_t>(end, dataOffsets_[i + 1]);
    bytes = end - tagOffsets_[i];
  }
  std::unique_ptr<dtsr_cDataTag> tag = MakeTag(tag_type, bytes);
  if (!bReads([&] { return bReadTag(i, *tag); })) {
    FailForDamage(FilePath().CString(),
                  fmt::format("the tag of datum {} of {} cannot be read", i, FilePath().CString()));
  }
  return tag;
}

int Series::DataIndex(const dtsr_cDataTag& tag, type_cBoolean compare_time) const {
  const std::unique_ptr<dtsr_cDataTag> stored(tag.pCopy());
  for (int i = 0; i < NextWriteIndex(); ++i) {
    bool same_kind = true;
    const bool read = bReads([&]() -> bool {
      try {
        return bReadTag(i, *stored);
      } catch (const dtsr_cTagTypeException&) {
        same_kind = false;
        return true;
      }
    });
    if (!read) {
      FailForDamage(FilePath().CString(), fmt::format("a tag of {} cannot be read", FilePath().CString()));
    }
    if (same_kind && stored->IsEqual(tag, compare_time)) return i;
  }
  return -1;
}

std::int64_t Series::Room() const {
  const int next = NextWriteIndex();
  return next < Size() ? detail::LastSeriesPosition - dataOffsets_[next] : 0;
}

std::int64_t StoredSize(const dtsr_cDataTag& tag) {
  bstr_cMemory_ostream bytes;
  tag.Write(bytes);
  return bytes.Size();
}

}  // namespace dseries
