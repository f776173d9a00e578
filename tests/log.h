#pragma once

#include "disk.h"
#include "series.h"

inline dtsr_cDimensionArray Slots(int a, int b = 1) {
  dtsr_cDimensionArray dimensions(2);
  dimensions.Dimension(0) = {a, cal_c1DArrayCal(10, 0.5), "x", "", true};
  dimensions.Dimension(1) = {b, cal_c1DArrayCal(), "", "", false};
  return dimensions;
}

/// A series of records of many sizes in a file. The tag of record i holds its number, `base` + i, from which
/// its bytes follow.
class Log : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
 public:
  Log(const TempFile& file, const dtsr_cDimensionArray& dimensions, bstr_eAccess access = bstr_CreateEmpty)
      : dtsr_cStoredSeries(file.Path(), dimensions, 77, access) {}
  explicit Log(const TempFile& file, bstr_eAccess access = bstr_OpenExisting)
      : dtsr_cStoredSeries(file.Path(), 77, access) {}
  using dtsr_cFileSeriesBase::dataOffsets_;
  using dtsr_cFileSeriesBase::file_;
  using dtsr_cFileSeriesBase::tagOffsets_;
  using dtsr_cFileSeriesBase::UpdatePointers;
  using dtsr_cFileSeriesBase::writeIndex_;

  static std::string Record(std::int64_t number) {
    return std::string(static_cast<std::size_t>(5 + number * number % 2999), static_cast<char>('a' + number));
  }
  void Append(const std::string& record, const dtsr_cDataTag& tag) {
    AppendDatum(tag, [&](bstr_cBinary_ostream& out) { return out.Write(record.data(), std::ssize(record)); });
  }
  void AppendNext(long base = 0) {
    const long number = base + NextWriteIndex();
    Append(Record(number), dtsr_cDataTag(number));
  }
  long Number(int i) const {
    dtsr_cDataTag tag;
    GetTag(i, tag);
    return tag.Time();
  }
  std::string Bytes(int i) const {
    std::string bytes(static_cast<std::size_t>(tagOffsets_[i] - dataOffsets_[i]), '.');
    file_.Input().Seek(dataOffsets_[i]);
    file_.Input().Read(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    return bytes;
  }
  /// The number of records, after checking those from `first` on.
  int CheckedCount(int first = 0) const {
    for (int i = first; i < NextWriteIndex(); ++i) {
      EXPECT_EQ(Number(i), Number(0) + i);
      EXPECT_EQ(Bytes(i), Record(Number(i))) << i;
    }
    return NextWriteIndex();
  }
};

inline std::string Message(const char* text, const TempFile& file) {
  return (text + file.Path() + ".").CString();
}

/// The number of records in the file when it is opened now; -1, and the reason, when it cannot be opened.
inline int CountInFile(const TempFile& file, std::string* why = nullptr) {
  int count = -1;
  const std::string complaint = Complaint([&] { count = Log(file, bstr_OpenReadOnly).CheckedCount(); });
  if (why != nullptr) *why = complaint;
  return count;
}
