#include "file/check.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

#include "file/failure.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/reading.h"
#include "file/seal.h"
#include "file/series.h"
#include "file/text.h"
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/dimension.h>

namespace dseries {

namespace {

bool bReadsDatum(bstr_cBinary_istream& in, std::uint32_t data_type) {
  return VisitDataType(data_type, [&in]<class Array>(std::type_identity<Array>) {
    return bReads([&in]() -> bool { return Array().Read(in); });
  });
}

class Checker {
 public:
  explicit Checker(const std::string& path)
      : path_(path), file_(OpenToRead(path)), in_(file_.Input()), header_(ReadHeader(file_)) {
    std::error_code error;
    if (!std::filesystem::exists(PathOf(ChecksumsPath(path)), error)) return;
    try {
      sums_ = std::make_unique<Series>(path);
      findings_.checksums = sums_->Checksums();
      if (findings_.checksums == dtsr_NoChecksums) Note("the checksums beside it cannot be read");
    } catch (const Failure&) {  // what is wrong is found here
    }
  }

  Findings Run(const std::function<void(int, int)>& progress) {
    if (findings_.checksums == dtsr_HeaderDiffers)
      Fault("the header or the dimensions have changed since the checksums were made");
    if (CheckHeader()) {
      CheckDimensions();
      if (ReadLists()) {
        CheckTagType();
        CheckData(progress);
        CheckEmptySlots();
      } else {
        Fault("the offset lists cannot be read");
      }
    }
    return std::move(findings_);
  }

 private:
  static constexpr std::size_t most_faults_told = 20;

  template <class... Arguments>
  void Fault(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    ++findings_.fault_count;
    if (findings_.faults.size() < most_faults_told) {
      findings_.faults.push_back(fmt::format(format, std::forward<Arguments>(arguments)...));
    }
  }

  template <class... Arguments>
  void Note(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    findings_.notes.push_back(fmt::format(format, std::forward<Arguments>(arguments)...));
  }

  std::int64_t Total() const { return header_.total; }
  std::int64_t DataBegin() const { return header_.Lists().End(); }
  static std::size_t At(std::int64_t slot) { return static_cast<std::size_t>(slot); }

  /// False when the offset lists cannot be found.
  bool CheckHeader() {
    if (header_.total < 1) {
      Fault("the header counts {} data slots", header_.total);
      return false;
    }
    if (header_.lists < Header::End) {
      Fault("the header puts the offset lists at byte {}, within itself", header_.lists);
      return false;
    }
    if (DataBegin() > in_.Size()) {
      Fault("the offset lists of {} slots should end at byte {}, and the file ends at byte {}", Total(),
            DataBegin(), in_.Size());
      return false;
    }
    if (header_.valid < 0 || header_.valid > header_.total) {
      Fault("the header counts {} valid data in {} slots", header_.valid, Total());
    }
    findings_.slots = header_.total;
    findings_.valid = std::clamp(header_.valid, 0, header_.total);
    return true;
  }

  void CheckDimensions() {
    std::string bytes(At(header_.lists - Header::End), '\0');
    const auto n = static_cast<std::int64_t>(bytes.size());
    bstr_cMemory_istream region(bytes.data(), n);
    dtsr_cDimensionArray dimensions(0);
    const bool read = in_.Seek(Header::End) && in_.Read(bytes.data(), n) && bReads([&]() -> bool {
                        dimensions.Read(region);
                        return region.bGood();
                      });
    if (!read) {
      Fault("the dimensions cannot be read");
      return;
    }
    if (const std::int64_t rest = n - region.Position(); rest > 0) {
      Fault("{} between the dimensions and the offset lists",
            Count(rest, "stray byte is", "stray bytes are"));
    }
    std::int64_t indices = 1;
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      const int size = dimensions.Dimension(d).Size();
      if (size < 1) Fault("dimension {} has the size {}", d, size);
      if (indices <= Total()) indices *= std::max(size, 0);  // no further: it could overflow
    }
    if (indices != Total()) Fault("the dimensions do not have {} indices, one for each slot", Total());
  }

  bool ReadList(std::vector<std::int32_t>& list, std::int64_t position) {
    list.resize(At(Total()));
    return in_.Seek(position) && bstr_ReadNumbers(in_, list.data(), Total());
  }

  /// As they are for one count of data, which a writer may advance meanwhile.
  bool ReadLists() {
    constexpr int most_rounds = 100;
    for (int round = 0; round < most_rounds; ++round) {
      if (!ReadList(data_, header_.Lists().DataEntry(0)) || !ReadList(tags_, header_.Lists().TagEntry(0)))
        return false;
      file_.Forget(0);
      in_.Seek(0);
      const std::int32_t before = std::exchange(header_.valid, ReadHeader(file_).valid);
      if (header_.valid == before) break;
    }
    findings_.valid = std::clamp(header_.valid, 0, header_.total);
    return true;
  }

  void CheckTagType() {
    tag_type_ = header_.tagType;
    if (tag_type_ == 0 && findings_.valid > 0 && in_.Seek(tags_[0]) && bstr_ReadFields(in_, tag_type_)) {
      Note("the header holds no kind of tag; the first tag gives it");
    }
    if (bKnownTagType(tag_type_)) {
      tag_ = MakeTag(tag_type_);
    } else if (tag_type_ != 0) {
      Note("the tags hold {}; only their times are checked", TagTypeName(tag_type_));
    }
  }

  void CheckData(const std::function<void(int, int)>& progress) {
    if (!bKnownDataType(header_.dataType)) {
      Note("the file holds {}; their places are checked, but not their bytes",
           DataTypeName(header_.dataType));
    }
    std::int64_t place = DataBegin();  // where the next datum should begin; 0 if unknown
    for (int k = 0; k < findings_.valid; ++k) {
      progress(k, findings_.valid);
      const std::int64_t faults_before = findings_.fault_count;
      CheckPlace(k, place);
      place = CheckDatum(k) && CheckTag(k) ? in_.Position() : 0;
      if (findings_.fault_count == faults_before) CheckSum(k);
      if (findings_.fault_count == faults_before) ++findings_.whole;
    }
    if (findings_.valid < findings_.slots) CheckPlace(findings_.valid, place);
  }

  void CheckSum(int k) {
    if (findings_.checksums < dtsr_HasChecksums || k >= sums_->NextWriteIndex()) return;
    const dtsr_eChecked checked = sums_->Checked(k);
    findings_.matching += checked == dtsr_Right;
    if (checked != dtsr_Wrong) return;
    ++findings_.wrong;
    Fault("datum {} does not match its checksum: it or its tag has changed", k);
  }

  void CheckPlace(int k, std::int64_t place) {
    if (place != 0 && data_[At(k)] != place) {
      Fault("datum {} should begin at byte {}, but the offset list has {}", k, place, data_[At(k)]);
    }
  }

  bool CheckDatum(int k) {
    const std::int64_t begin = data_[At(k)], end = tags_[At(k)];
    if (begin < DataBegin() || end < begin) {
      Fault("the offset lists put datum {} at byte {} and its tag at byte {}; data begin at byte {}", k,
            begin, end, DataBegin());
      return false;
    }
    if (end > in_.Size()) {
      Fault("datum {} is cut off: it should end at byte {}, and the file ends at byte {}", k, end,
            in_.Size());
      return false;
    }
    if (!bKnownDataType(header_.dataType)) return in_.Seek(end);
    if (!in_.Seek(begin) || !bReadsDatum(in_, header_.dataType)) {
      Fault("datum {} at byte {} cannot be read as one of the {}", k, begin, DataTypeName(header_.dataType));
      return true;  // its tag may be intact
    }
    if (in_.Position() != end) {
      Fault("datum {} ends at byte {}, and its tag begins at byte {}", k, in_.Position(), end);
    }
    return true;
  }

  bool CheckTag(int k) {
    const std::int64_t begin = tags_[At(k)];
    std::uint32_t stored = 0;
    if (in_.Seek(begin) && bstr_ReadFields(in_, stored) && (stored != tag_type_ || stored == 0)) {
      if (stored == 0) {
        Fault("the tag of datum {} has no kind", k);
      } else {
        Fault("the tag of datum {} is of the kind 0x{:04x}, not 0x{:04x}", k, stored, tag_type_);
      }
      return false;
    }
    const bool read = in_.Seek(begin) && (tag_ == nullptr ? bSkipsTag(k) : bReads([&] {
                        tag_->Read(in_);
                        return true;
                      }));
    if (!read) Fault("the tag of datum {} is cut off by the end of the file at byte {}", k, in_.Size());
    return read;
  }

  /// Seeks to the end of a tag of unknown length, where the next datum begins.
  bool bSkipsTag(int k) {
    const std::int64_t end = k + 1 < findings_.slots ? data_[At(k + 1)] : in_.Size();
    return end - tags_[At(k)] >= detail::PlainTagLength && end <= in_.Size() && in_.Seek(end);
  }

  void CheckEmptySlots() {
    const int empty = findings_.valid;  // the first empty slot: only its place is listed
    if (empty == findings_.slots) return;
    const bool more = empty + 1 < findings_.slots;
    std::int64_t stray = 0;
    for (int k = empty; k < findings_.slots; ++k) {
      stray += tags_[At(k)] != 0;
      stray += k > empty && data_[At(k)] != 0;
    }
    // An append writes the next place, then the place of the tag, then the count.
    const std::int64_t begin = data_[At(empty)], tag = tags_[At(empty)];
    const std::int64_t next = more ? data_[At(empty + 1)] : in_.Size();
    const bool unfinished = tag == 0 ? next > begin : begin <= tag && tag < next;
    if (stray > 0 && unfinished && stray == (tag != 0) + more) {
      const bool writing = bstr_LockHolder(path_.c_str()) != "";
      Note("an append {}", writing ? "is under way" : "was cut short; the next one takes its place");
    } else if (stray > 0) {
      Fault("{} not 0, though their slots are empty",
            Count(stray, "entry of the offset lists is", "entries of the offset lists are"));
    }
  }

  const std::string& path_;
  bstr_cBinary_fstream file_;
  bstr_cBinary_istream& in_;
  Header header_;
  std::vector<std::int32_t> data_;  // the offset lists
  std::vector<std::int32_t> tags_;
  std::uint32_t tag_type_ = 0;
  std::unique_ptr<dtsr_cDataTag> tag_;  // to read tags into; null when their kind is unknown here
  std::unique_ptr<Series> sums_;        // null when the series does not open
  Findings findings_;
};

}  // namespace

Findings Check(const std::string& path, const std::function<void(int, int)>& progress) {
  return Checker(path).Run(progress);
}

}  // namespace dseries
