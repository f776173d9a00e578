#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/detail/seriesformat.h>
#include <DataStorage/series/fileseries.h>

namespace {

using detail::SeriesHeader;
using detail::SeriesLists;
using Entry = SeriesLists::Entry;

/// How often Refresh at most goes on reading while it finds more.
constexpr int MostRounds = 100;
/// How long, in nanoseconds, Refresh relies on a path that it has looked up, while the file is unchanged.
constexpr std::int64_t PathInterval = 50'000'000;

/// In nanoseconds, as file times are.
std::int64_t Now() {
  using namespace std::chrono;
  return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

/// Whether a later change of a file has another time than one at `changed`.
bool bSettled(std::int64_t changed, std::int64_t now) {
  constexpr std::int64_t tick = 50'000'000, second = 1'000'000'000;
  return changed > 0 && now - changed > (changed % second == 0 ? 3 * second : tick);
}

/// The place of a datum after the last slot.
constexpr std::int64_t NoNext = std::numeric_limits<std::int64_t>::max();

}  // namespace

dtsr_eRefreshed dtsr_cFileSeriesBase::Refresh() {
  if (abandoned_) return dtsr_Replaced;
  const std::int64_t changed = file_.ChangeTime();  // before the contents, which may change meanwhile
  const std::int64_t now = Now();
  SeriesHeader header;
  dtsr_eRefreshed found = dtsr_Cut;
  if (bReadHeaderNow(header)) {
    const bool settled = changed == known_.settled && header.valid == writeIndex_;
    const std::int64_t since = now - known_.pathChecked;
    if (settled && since >= 0 && since < PathInterval) return dtsr_NothingNew;
    found = settled ? dtsr_NothingNew : RefreshContents(header);
  }
  if (found == dtsr_NothingNew || found == dtsr_Cut) {
    known_.pathChecked = now;
    if (const bstr_ePathNames names = file_.PathNames(); names != bstr_NamesTheFile) {
      found = names == bstr_NamesNothing ? dtsr_Removed : dtsr_Replaced;
    }
  }
  known_.settled = found == dtsr_NothingNew && bSettled(changed, now) ? changed : -1;
  return found;
}

bool dtsr_cFileSeriesBase::bReadHeaderNow(SeriesHeader& header) const {
  std::array<unsigned char, SeriesHeader::End> bytes;
  if (file_.ReadNow(bytes.data(), SeriesHeader::End, 0) != SeriesHeader::End) return false;
  bstr_cMemory_istream in(bytes.data(), SeriesHeader::End);
  return header.ReadKind(in) && header.ReadContents(in);
}

/// Goes on until nothing more is found, so that what was read while the file changed is read again.
dtsr_eRefreshed dtsr_cFileSeriesBase::RefreshContents(SeriesHeader& header) {
  dtsr_eRefreshed result = dtsr_NothingNew;
  for (int round = 0; round < MostRounds; ++round) {
    const bool comparable = writeIndex_ > 0 && known_.tagLength > 0;
    const dtsr_eRefreshed found = RefreshOnce(header);
    if (found == dtsr_Cut || found == dtsr_Replaced) return found;
    result = std::max(result, found);
    const int valid = header.valid;
    if (found == dtsr_NothingNew) break;
    if (!bReadHeaderNow(header)) return dtsr_Cut;
    if (found == dtsr_Appended && comparable && header.valid == valid) break;
  }
  return result;
}

dtsr_eRefreshed dtsr_cFileSeriesBase::RefreshOnce(const SeriesHeader& header) {
  const bool same = header.bSeriesFile() && header.version == SeriesHeader::KnownVersion &&
                    header.dataType == dataTypeID_ && header.total == Size() &&
                    header.lists == offsetListPosition_;
  if (!same) return Abandon();
  if (header.valid < 0 || header.valid > Size()) return dtsr_Cut;
  const dtsr_eRefreshed found = header.valid < writeIndex_   ? dtsr_Reset
                                : header.valid > writeIndex_ ? ReadAppended(header.valid)
                                                             : CompareNewest();
  if (found == dtsr_Cut) return dtsr_Cut;
  if (found == dtsr_Reset) {
    file_.Forget(0);
    if (!bReadLists(header)) return dtsr_Cut;
  }
  tagTypeID_ = header.tagType;
  if (found == dtsr_Reset || known_.tagLength < 0) RememberNewest();
  return found;
}

/// Reads the list entries of the data from the newest known one to `end`, and the place of the one after
/// them; then the tags of both, so that a reset in between shows. Changes nothing unless it returns
/// dtsr_Appended.
dtsr_eRefreshed dtsr_cFileSeriesBase::ReadAppended(int end) {
  const int first = std::max(writeIndex_ - 1, 0);
  const auto n = static_cast<std::size_t>(end - first);
  const std::size_t places = end < Size() ? n + 1 : n;
  std::vector<unsigned char> packed((places + n) * sizeof(Entry));
  const auto read = [&](std::size_t at, std::size_t count, std::int64_t position) {
    const auto bytes = static_cast<std::int64_t>(count * sizeof(Entry));
    return file_.ReadNow(packed.data() + at * sizeof(Entry), bytes, position) == bytes;
  };
  const auto entry = [&](std::size_t k) {
    return SeriesLists::EntryAt(packed.data(), static_cast<std::int64_t>(k));
  };
  if (!read(0, places, Lists().DataEntry(first)) || !read(places, n, Lists().TagEntry(first)))
    return dtsr_Cut;
  Known known = known_;
  if (!bReadTag(known, entry(places + n - 1), places > n ? entry(n) : NoNext)) return dtsr_Cut;
  if (const auto before = CompareNewest(entry(0), entry(places)); before != dtsr_NothingNew) return before;

  Entry lowest = std::numeric_limits<Entry>::max();  // of the places that have changed
  for (auto k = static_cast<std::size_t>(writeIndex_ - first); k < n; ++k) {
    const int i = first + static_cast<int>(k);
    dataOffsets_[i] = entry(k);
    tagOffsets_[i] = entry(places + k);
    lowest = std::min({lowest, entry(k), entry(places + k)});
  }
  if (places > n) dataOffsets_[end] = entry(n);
  writeIndex_ = end;
  known_ = known;
  file_.Forget(std::max(lowest, 0));
  if (!readOnly_) GuardNextPlace();
  return dtsr_Appended;
}

/// Whether the newest datum known is still in the file, where the lists have these places for it: compares
/// them and its tag.
dtsr_eRefreshed dtsr_cFileSeriesBase::CompareNewest(long data, long tag) const {
  if (writeIndex_ == 0 || known_.tagLength < 0) return dtsr_NothingNew;
  if (data != dataOffsets_[writeIndex_ - 1] || tag != tagOffsets_[writeIndex_ - 1]) return dtsr_Reset;
  decltype(known_.tag) bytes;
  if (file_.ReadNow(bytes.data(), known_.tagLength, tag) != known_.tagLength) return dtsr_Cut;
  const auto n = static_cast<std::size_t>(known_.tagLength);
  return std::memcmp(bytes.data(), known_.tag.data(), n) == 0 ? dtsr_NothingNew : dtsr_Reset;
}

dtsr_eRefreshed dtsr_cFileSeriesBase::CompareNewest() const {
  if (writeIndex_ == 0) return dtsr_NothingNew;
  std::array<unsigned char, sizeof(Entry)> data, tag;
  const bool read =
      file_.ReadNow(data.data(), std::ssize(data), Lists().DataEntry(writeIndex_ - 1)) == std::ssize(data) &&
      file_.ReadNow(tag.data(), std::ssize(tag), Lists().TagEntry(writeIndex_ - 1)) == std::ssize(tag);
  return read ? CompareNewest(SeriesLists::EntryAt(data.data(), 0), SeriesLists::EntryAt(tag.data(), 0))
              : dtsr_Cut;
}

/// Reads the tag at `place`, as far as Refresh compares it: without the next datum, at `next`. Returns false
/// when it is cut off.
bool dtsr_cFileSeriesBase::bReadTag(Known& known, std::int64_t place, std::int64_t next) const {
  const std::int64_t most = std::ssize(known.tag);
  const std::int64_t length = next == NoNext ? most : std::clamp<std::int64_t>(next - place, 0, most);
  known.tagLength = static_cast<int>(file_.ReadNow(known.tag.data(), length, place));
  return known.tagLength == length || next == NoNext;
}

void dtsr_cFileSeriesBase::RememberNewest() {
  known_.tagLength = 0;
  if (writeIndex_ == 0) return;
  bReadTag(known_, tagOffsets_[writeIndex_ - 1], writeIndex_ < Size() ? dataOffsets_[writeIndex_] : NoNext);
}

/// The result of Refresh after a reset: whether a series with these dimensions was reset or another one
/// created.
dtsr_eRefreshed dtsr_cFileSeriesBase::AfterReset(const dtsr_cDimensionArray& dimensions) {
  try {
    if (bHasDimensions(dimensions)) return dtsr_Reset;
  } catch (const expt_cProgramException&) {
  }
  return Abandon();
}
