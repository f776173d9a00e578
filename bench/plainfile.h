#pragma once

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "series.h"
#include <DataStorage/series/detail/seriesformat.h>

/// A series file by the positioned calls that it needs at least.
class PlainFile {
 public:
  explicit PlainFile(std::int64_t bytes) : step_(bytes + tag_bytes) {}
  PlainFile(std::int64_t bytes, Existing) : PlainFile(bytes) {}
  PlainFile(const PlainFile&) = delete;
  PlainFile& operator=(const PlainFile&) = delete;
  ~PlainFile() { ::close(file_); }

  void Append(const Datum& datum, int i) {
    const std::int64_t at = DatumAt(i);
    std::memcpy(tag_.data() + 8, std::array{double(i), 0.}.data(), 16);
    Write(datum.data(), datum.size(), at);
    Write(tag_.data(), tag_.size(), at + static_cast<std::int64_t>(datum.size()));
    Write(&at, 4, lists_at.DataEntry(i));
    Write(&at, 4, lists_at.TagEntry(i));
    Write(&i, 4, detail::SeriesHeader::ValidField);
  }
  void Reset() {}
  void Read(int i, Datum& datum) { Read(datum.data(), datum.size(), DatumAt(i)); }
  int Find(int) {
    for (int i = 0; i < slots; ++i) {
      Read(tag_.data(), tag_.size(), TagAt(i));
      benchmark::DoNotOptimize(tag_);
    }
    return -1;
  }
  static void ReadHeader(PlainFile& file) {
    std::array<char, detail::SeriesHeader::End> header;
    file.Read(header.data(), header.size(), 0);
    benchmark::DoNotOptimize(header);
  }
  static void Open() {
    PlainFile file(0);
    std::array<char, lists_at.begin> header{};
    std::vector<char> lists(data_at - lists_at.begin);
    file.Read(header.data(), header.size(), 0);
    file.Read(lists.data(), lists.size(), lists_at.begin);
    benchmark::DoNotOptimize(lists.data());
  }

 protected:
  static constexpr std::int64_t tag_bytes = detail::PositionTagLength;
  static constexpr detail::SeriesLists lists_at{detail::SeriesHeader::End, slots};  // without dimensions
  static constexpr std::int64_t data_at = lists_at.End();

  std::int64_t DatumAt(int i) const { return data_at + i * step_; }
  std::int64_t TagAt(int i) const { return DatumAt(i + 1) - tag_bytes; }
  void Write(const void* bytes, std::size_t n, std::int64_t at) {
    if (::pwrite(file_, bytes, n, at) != static_cast<ssize_t>(n)) std::abort();
  }
  void Read(void* bytes, std::size_t n, std::int64_t at) {
    if (::pread(file_, bytes, n, at) != static_cast<ssize_t>(n)) std::abort();
  }

  int file_ = ::open(TemporaryFile::path, O_RDWR | O_CREAT, 0666);

 private:
  std::int64_t step_;
  std::array<char, tag_bytes> tag_{};
};
