#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/detail/seriesformat.h>
#include <DataStorage/series/fileseries.h>
#include <Utility/system.h>

namespace fuzz {

/// Replaces the system calls of file streams during its lifetime: there is a single file, in memory, whatever
/// path is opened. It grows up to `Room` bytes; then the disk is full.
class MemoryDisk {
 public:
  static constexpr std::int64_t Room = 1 << 20;

  explicit MemoryDisk(std::string contents = {})
      : calls_(std::exchange(detail::file_calls,
                             {Open, ReadAt, WriteAt, Size, [](std::intptr_t) { return std::int64_t{0}; },
                              [](std::intptr_t, const char*) { return bstr_NamesTheFile; },
                              [](std::intptr_t) {}, nullptr, nullptr})) {
    file = std::move(contents);
  }
  MemoryDisk(const MemoryDisk&) = delete;
  MemoryDisk& operator=(const MemoryDisk&) = delete;
  ~MemoryDisk() {
    detail::file_calls = calls_;
    file = {};
  }

  static inline std::string file;

 private:
  static std::intptr_t Open(const char*, bstr_eAccess access) {
    if (access == bstr_CreateEmpty) file.clear();
    return 1;
  }
  static std::int64_t ReadAt(std::intptr_t, void* bytes, std::int64_t n, std::int64_t position) {
    const std::int64_t moved = std::clamp<std::int64_t>(Size(1) - position, 0, n);
    std::copy_n(file.data() + (moved > 0 ? position : 0), moved, static_cast<char*>(bytes));
    return moved;
  }
  static std::int64_t WriteAt(std::intptr_t, detail::Bytes head, detail::Bytes bytes, std::int64_t position) {
    const std::string all = std::string(head.begin(), head.end()).append(bytes.begin(), bytes.end());
    const std::int64_t moved = std::clamp<std::int64_t>(Room - position, 0, std::ssize(all));
    if (moved == 0) return -1;
    if (Size(1) < position + moved) file.resize(static_cast<std::size_t>(position + moved));
    std::copy_n(all.begin(), moved, file.begin() + position);
    return moved;
  }
  static std::int64_t Size(std::intptr_t) { return static_cast<std::int64_t>(file.size()); }

  detail::FileCalls calls_;
};

/// A series of 1D data arrays, in the one file of the memory disk.
class ArraySeries : public dtsr_cFileSeriesBase {
 public:
  explicit ArraySeries(bstr_eAccess access)
      : dtsr_cFileSeriesBase("series", darr_c1DArray::DataTypeID(), access) {}
  explicit ArraySeries(const dtsr_cDimensionArray& dimensions)
      : dtsr_cFileSeriesBase("series", dimensions, darr_c1DArray::DataTypeID()) {}

  void Append(const darr_c1DArray& datum, const dtsr_cDataTag& tag) {
    AppendDatum(tag, [&](bstr_cBinary_ostream& out) { return datum.Write(out); });
  }
  bool bRead(int i, darr_c1DArray& datum) const {
    return bReadDatum(i, [&](bstr_cBinary_istream& in) { return datum.Read(in); });
  }
  /// Reads a tag; false when it overlaps the next valid datum, which in a damaged file may also precede the
  /// tag.
  bool bReadTag(int i, dtsr_cDataTag& tag) const {
    GetTag(i, tag);
    if (i + 1 >= NextWriteIndex()) return true;
    const long next = dataOffsets_[i + 1];
    return next < tagOffsets_[i] || file_.Input().Position() <= next;
  }
  /// The bytes that are written only when a series is created: the number of slots, and those from the
  /// position of the lists up to the lists.
  std::string Fixed() const {
    using detail::SeriesHeader;
    return MemoryDisk::file.substr(SeriesHeader::TotalField, 4) +
           MemoryDisk::file.substr(SeriesHeader::ListsField,
                                   static_cast<std::size_t>(offsetListPosition_ - SeriesHeader::ListsField));
  }
};

}  // namespace fuzz
