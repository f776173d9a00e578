// D: appending to a series file. E: reading and opening it, searching its tags. The limits are plain
// positioned system calls.

#if __has_include(<unistd.h>)
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "series.h"
#include <DataStorage/series/detail/seriesformat.h>
#include <DataStorage/series/storedseries.h>

namespace {

dtsr_cDimensionArray Dimensions() {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {slots, cal_c1DArrayCal(), "x", "mm", false};
  return dimensions;
}

/// A series of plain bytes.
class Series : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
 public:
  explicit Series(std::int64_t)
      : dtsr_cStoredSeries(TemporaryFile::path, Dimensions(), 1, bstr_CreateEmpty) {}
  Series() : dtsr_cStoredSeries(TemporaryFile::path, 1, bstr_OpenExisting) {}

  void Append(const Datum& datum, int i) {
    AppendDatum(dtsr_c2DPosition(i, 0, i), [&](bstr_cBinary_ostream& out) {
      return out.Write(datum.data(), static_cast<std::int64_t>(datum.size()));
    });
  }
  void Reset() { ResetWriteIndex(); }
  void Read(int i, Datum& datum) {
    bReadDatum(i, [&](bstr_cBinary_istream& in) {
      return in.Read(datum.data(), static_cast<std::int64_t>(datum.size()));
    });
  }
  int Find(int x) const { return DataIndex(dtsr_c2DPosition(x, 0, 0), false); }
  static void Open() { benchmark::DoNotOptimize(Series().Size()); }
};

/// The fewest system calls that a series file needs.
class PlainFile {
 public:
  explicit PlainFile(std::int64_t bytes) : step_(bytes + tag_bytes) {}
  PlainFile(const PlainFile&) = delete;
  PlainFile& operator=(const PlainFile&) = delete;
  ~PlainFile() { ::close(file_); }

  void Append(const Datum& datum, int i) {
    const std::int64_t at = data_at + i * step_;
    Write(datum.data(), datum.size(), at);
    Write(tag_.data(), tag_.size(), at + static_cast<std::int64_t>(datum.size()));
    Write(&at, 4, lists_at.DataEntry(i));
    Write(&at, 4, lists_at.TagEntry(i));
    Write(&i, 4, detail::SeriesHeader::ValidField);
  }
  void Reset() {}
  void Read(int i, Datum& datum) { Read(datum.data(), datum.size(), data_at + i * step_); }
  int Find(int) {
    for (int i = 0; i < slots; ++i) {
      Read(tag_.data(), tag_.size(), data_at + (i + 1) * step_ - tag_bytes);
      benchmark::DoNotOptimize(tag_);
    }
    return -1;
  }
  static void Open() {
    PlainFile file(0);
    std::array<char, lists_at.begin> header{};
    std::vector<char> lists(data_at - lists_at.begin);
    file.Read(header.data(), header.size(), 0);
    file.Read(lists.data(), lists.size(), lists_at.begin);
    benchmark::DoNotOptimize(lists.data());
  }

 private:
  static constexpr std::int64_t tag_bytes = detail::PositionTagLength;
  static constexpr detail::SeriesLists lists_at{detail::SeriesHeader::End, slots};  // without dimensions
  static constexpr std::int64_t data_at = lists_at.End();

  void Write(const void* bytes, std::size_t n, std::int64_t at) {
    if (::pwrite(file_, bytes, n, at) != static_cast<ssize_t>(n)) std::abort();
  }
  void Read(void* bytes, std::size_t n, std::int64_t at) {
    if (::pread(file_, bytes, n, at) != static_cast<ssize_t>(n)) std::abort();
  }

  int file_ = ::open(TemporaryFile::path, O_RDWR | O_CREAT, 0666);
  std::int64_t step_;
  std::array<char, tag_bytes> tag_{};
};

[[maybe_unused]] const bool registered = [] {
  RegisterSeries<Series>("ours");
  RegisterSeries<PlainFile>("limit");
  return true;
}();

}  // namespace
#endif
