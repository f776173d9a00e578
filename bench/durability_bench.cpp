// K: appending to a series file with syncs and checksums, in the time that passes, because most of it is the
// disk's; checking and refreshing a series. The limits are plain writes with the same syncs.

#if __has_include(<unistd.h>)
#include <chrono>
#include <thread>

#include "plainfile.h"
#include "synced.h"
#include <DataStorage/interfaces/detail/crc32c.h>
#include <DataStorage/series/storedseries.h>

namespace {

dtsr_cDimensionArray Dimensions() {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {slots, cal_c1DArrayCal(), "x", "mm", false};
  return dimensions;
}

template <dtsr_eDurability durability, bool checksums = durability == dtsr_DurabilityGroup>
class Series : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
 public:
  explicit Series(std::int64_t) : dtsr_cStoredSeries(TemporaryFile::path, Dimensions(), 1, bstr_CreateEmpty) {
    if (checksums) KeepChecksums();
    SetDurability(durability, Group, 1'000'000);
  }
  ~Series() override { std::remove((std::string(TemporaryFile::path) + ".crc32c").c_str()); }

  void Append(const Datum& datum, int i) {
    AppendDatum(dtsr_c2DPosition(i, 0, i), [&](bstr_cBinary_ostream& out) {
      return out.Write(datum.data(), static_cast<std::int64_t>(datum.size()));
    });
  }
  void Reset() { ResetWriteIndex(); }
};

/// Syncs after every `every`th datum; with 1 as strictly as a series does: the datum, then the count.
template <int every>
class PlainSynced : public PlainFile {
 public:
  using PlainFile::PlainFile;
  void Append(const Datum& datum, int i) {
    PlainFile::Append(datum, i);
    if ((i + 1) % every == 0) Sync();
    if (every == 1) {
      Write(&i, 4, detail::SeriesHeader::ValidField);
      Sync();
    }
  }

 private:
  void Sync() const {
    if (::fdatasync(file_) != 0) std::abort();
  }
};

void Checksum(benchmark::State& state, std::int64_t bytes) {
  const Datum datum = NewDatum(bytes);
  const std::span all(reinterpret_cast<const unsigned char*>(datum.data()), datum.size());
  for (auto _ : state) benchmark::DoNotOptimize(detail::Crc32c(all));
  SetBytes(state, bytes);
}

using Unsynced = Series<dtsr_DurabilityNone>;

/// Nothing is new.
void Refresh(benchmark::State& state) {
  const TemporaryFile remove_at_end;
  Unsynced file(0);
  Fill(file, 16);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // nothing has happened for a while
  for (auto _ : state) benchmark::DoNotOptimize(file.Refresh());
}
/// The header by a plain call.
void ReadHeader(benchmark::State& state) {
  const TemporaryFile remove_at_end;
  PlainFile file(16);
  Fill(file, 16);
  for (auto _ : state) PlainFile::ReadHeader(file);
}

[[maybe_unused]] const bool registered = [] {
  RegisterSynced<Unsynced>("append", "ours");
  RegisterSynced<PlainFile>("append", "limit");
  RegisterSynced<Series<dtsr_DurabilityNone, true>>("append_checksums", "ours");
  RegisterSynced<PlainFile>("append_checksums", "limit");
  RegisterSynced<Series<dtsr_DurabilityGroup>>("append_group", "ours");
  RegisterSynced<PlainSynced<Group>>("append_group", "limit");
  RegisterSynced<Series<dtsr_DurabilityStrict>>("append_strict", "ours");
  RegisterSynced<PlainSynced<1>>("append_strict", "limit");
  Register("K/checksum/4K", "ours", Checksum, 4096);
  Register("K/refresh/20000", "ours", Refresh);
  Register("K/refresh/20000", "limit", ReadHeader);
  return true;
}();

}  // namespace
#endif
