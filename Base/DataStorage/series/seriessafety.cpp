#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <utility>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/detail/crc32c.h>
#include <DataStorage/series/detail/seriesformat.h>
#include <DataStorage/series/detail/seriessafety.h>

namespace {

using Bytes = std::span<const unsigned char>;
using detail::SeriesHeader;

constexpr detail::SourceFile source_file{"DataSeries"};

constexpr std::array<unsigned char, 8> Magic = {'D', 'S', 'C', 'R', 'C', '3', '2', 'C'};
constexpr std::uint32_t Version = 1;

/// As it is stored: 0 stands for a checksum that is not known.
constexpr std::uint32_t NonZero(std::uint32_t sum) { return sum == 0 ? ~std::uint32_t{0} : sum; }

/// The checksum that is stored for a datum of `length` bytes when that of datum and tag is `sum`.
std::uint32_t Stored(std::uint32_t sum, std::uint32_t filling, std::int64_t length) {
  std::array<unsigned char, 8> bytes;
  detail::StoreLittleEndian(bytes.data(), filling);
  detail::StoreLittleEndian(bytes.data() + 4, static_cast<std::uint32_t>(length));
  return NonZero(detail::Crc32c(bytes, sum));
}

using Header = std::array<unsigned char, detail::SeriesChecksums::HeaderLength>;
constexpr std::size_t SeriesField = 12, FirstField = 16, FillingField = 20, SumField = 24;

Header HeaderOf(std::uint32_t series, std::uint32_t first, std::uint32_t filling) {
  Header header;
  std::copy(Magic.begin(), Magic.end(), header.begin());
  detail::StoreLittleEndian(header.data() + 8, Version);
  detail::StoreLittleEndian(header.data() + SeriesField, series);
  detail::StoreLittleEndian(header.data() + FirstField, first);
  detail::StoreLittleEndian(header.data() + FillingField, filling);
  detail::StoreLittleEndian(header.data() + SumField, detail::Crc32c(Bytes(header).first(SumField)));
  return header;
}

/// Differs from those of earlier fillings.
std::uint32_t NewFilling() {
  static constinit std::atomic<std::uint32_t> count{0};
  std::array<unsigned char, 12> bytes;
  detail::StoreLittleEndian(bytes.data(),
                            std::int64_t{std::chrono::system_clock::now().time_since_epoch().count()});
  detail::StoreLittleEndian(bytes.data() + 8, std::uint32_t{++count});
  return detail::Crc32c(bytes);
}

/// Adds the bytes of a file from `begin` to `end` to `sum`; returns false when they are not there.
bool bAdd(const bstr_cBinary_fstream& file, std::int64_t begin, std::int64_t end, std::uint32_t& sum) {
  std::array<unsigned char, 16384> block;
  for (std::int64_t n; begin < end; begin += n) {
    n = std::min(end - begin, std::ssize(block));
    if (file.ReadNow(block.data(), n, begin) != n) return false;
    sum = detail::Crc32c(Bytes(block).first(static_cast<std::size_t>(n)), sum);
  }
  return true;
}

/// How many bytes of a tag its checksum covers. Tags of kinds that only the caller knows end where the next
/// datum begins, if there is one.
std::int64_t CoveredLength(std::uint32_t kind, std::int64_t tag, std::int64_t next) {
  if (kind == obty_2DPositionType) return detail::PositionTagLength;
  if (kind == obty_DataTagType) return detail::PlainTagLength;
  return next > tag ? next - tag : 0;
}

/// The bytes of the tag being appended in slot `i` that its checksum covers; the next datum begins at `next`.
Bytes Covered(const bstr_cMemory_ostream& tag, int i, int slots, std::int64_t next) {
  const Bytes bytes(static_cast<const unsigned char*>(tag.Data()), static_cast<std::size_t>(tag.Size()));
  std::uint32_t kind = 0;
  if (tag.Size() >= detail::TagKindLength) kind = detail::LoadLittleEndian<std::uint32_t>(bytes.data());
  const std::int64_t length = CoveredLength(kind, next - tag.Size(), i + 1 < slots ? next : 0);
  return bytes.first(static_cast<std::size_t>(std::min(length, tag.Size())));
}

}  // namespace

namespace detail {

bool SeriesChecksums::bRead() {
  Header header;
  if (file_.ReadNow(header.data(), HeaderLength, 0) != HeaderLength) return false;
  const auto series = LoadLittleEndian<std::uint32_t>(header.data() + SeriesField);
  const auto first = LoadLittleEndian<std::uint32_t>(header.data() + FirstField);
  const auto filling = LoadLittleEndian<std::uint32_t>(header.data() + FillingField);
  if (header != HeaderOf(series, first, filling)) return false;
  series_ = series;
  first_ = first;
  filling_ = filling;
  return true;
}

std::uint32_t SeriesChecksums::Sum(int i) const {
  std::array<unsigned char, 4> sum;
  const bool read = file_.ReadNow(sum.data(), std::ssize(sum), HeaderLength + 4 * std::int64_t{i}) == 4;
  return read ? LoadLittleEndian<std::uint32_t>(sum.data()) : 0;
}

bool SeriesChecksums::SetHeader(std::uint32_t series, std::uint32_t first) {
  filling_ = NewFilling();
  const Header header = HeaderOf(series, first, filling_);
  return file_.Output().Seek(0) && file_.Output().Write(header.data(), std::ssize(header));
}

bool SeriesChecksums::SetSum(int i, std::uint32_t sum) {
  bstr_cBinary_ostream& out = file_.Output();
  const std::int64_t place = HeaderLength + 4 * std::int64_t{i};
  return bReserved(place + 4) && out.Seek(place) && bstr_WriteFields(out, sum);
}

bool SeriesChecksums::Forget(int count) {
  const std::int64_t size = file_.Input().Size();
  // A file that was cut may end within an entry.
  const std::int64_t begin = std::min(HeaderLength + 4 * std::int64_t{count}, size / 4 * 4);
  return bZero(begin, size);
}

bool SeriesChecksums::bZero(std::int64_t begin, std::int64_t end) {
  static constexpr std::array<unsigned char, Block> zeros{};
  bstr_cBinary_ostream& out = file_.Output();
  if (begin < end && !out.Seek(begin)) return false;
  for (std::int64_t n; begin < end; begin += n) {
    n = std::min(end - begin, Block);
    if (!out.Write(zeros.data(), n)) return false;
  }
  return true;
}

/// Lengthens the file in blocks, because a sync takes longer where the length has changed.
bool SeriesChecksums::bReserved(std::int64_t end) {
  if (end <= reserved_) return true;
  reserved_ = file_.Input().Size();
  if (end <= reserved_) return true;
  const std::int64_t begin = std::max(reserved_, (end - 1) / Block * Block);
  reserved_ = ((end - 1) / Block + 1) * Block;
  return bZero(begin, reserved_);
}

void SeriesSafety::SetDurability(dtsr_eDurability durability, int data, std::chrono::milliseconds time) {
  durability_ = durability;
  most_ = data;
  longest_ = time;
}

bool SeriesSafety::bDue() const {
  return durability_ == dtsr_DurabilityStrict ||
         (durability_ == dtsr_DurabilityGroup &&
          (unsynced_ + 1 >= most_ || Clock::now() - synced_ >= longest_));
}

bool SeriesSafety::Sync() {
  failed_ = failed_ || (keeping_ && !checksums_->Sync()) || !file_.Sync();
  unsynced_ = 0;
  synced_ = Clock::now();
  return !failed_;
}

bool SeriesSafety::SyncName() {
  failed_ = failed_ || !file_.SyncName();
  return !failed_;
}

SeriesChecksums* SeriesSafety::Checksums(bstr_eAccess access) {
  const bool anew = access == bstr_CreateOrOpen;  // somebody may have removed what is open
  if (!checksums_ || anew || (access != bstr_OpenReadOnly && access_ == bstr_OpenReadOnly)) {
    auto opened = std::make_unique<SeriesChecksums>(checksums_path_, access);
    if (access == bstr_OpenReadOnly ? !opened->bOpen() : !opened->bWritable()) return nullptr;
    checksums_ = std::move(opened);
    access_ = access;
  }
  return checksums_.get();
}

}  // namespace detail

detail::SeriesSafety& dtsr_cFileSeriesBase::Safety() const {
  if (!safety_) safety_ = std::make_shared<detail::SeriesSafety>(file_);
  return *safety_;
}

void dtsr_cFileSeriesBase::SetDurability(dtsr_eDurability durability, int data, int milliseconds) {
  if (data < 1) arr_SizeError(data);
  if (milliseconds < 0) arr_SizeError(milliseconds);
  if (durability == dtsr_DurabilityNone && !safety_) return;
  if (!bCanWrite()) ThrowCannotWrite();
  if (durability != dtsr_DurabilityNone) RequireSync();
  if (durability == dtsr_DurabilityGroup) KeepChecksums();
  Safety().SetDurability(durability, data, std::chrono::milliseconds(milliseconds));
  if (durability == dtsr_DurabilityNone) return;
  if (!Safety().SyncName()) ThrowCannotWrite();
  Sync();
}

void dtsr_cFileSeriesBase::Sync() {
  if (!bCanWrite()) ThrowCannotWrite();
  RequireSync();
  if (!Safety().Sync()) ThrowCannotWrite();
}

void dtsr_cFileSeriesBase::RequireSync() const {
  if (bstr_cBinary_fstream::bCanSync()) return;
  source_file.ThrowUserError("Can't sync series file " + FilePath() + ". This system has no means to do so.");
}

/// Syncs where that is asked for; returns false when it has failed.
bool dtsr_cFileSeriesBase::bSynced() {
  return !safety_ || safety_->Durability() == dtsr_DurabilityNone || safety_->Sync();
}

bool dtsr_cFileSeriesBase::bSyncFailed() const { return safety_ && safety_->bFailed(); }

dtsr_eChecksums dtsr_cFileSeriesBase::Checksums() const {
  detail::SeriesChecksums* const checksums = Safety().Checksums(bstr_OpenReadOnly);
  if (checksums == nullptr) return dtsr_NoChecksums;
  if (!checksums->bRead()) return dtsr_OtherChecksums;
  const bool same = checksums->Series() == FixedSum();
  if (writeIndex_ == 0) return same ? dtsr_HasChecksums : dtsr_OtherChecksums;
  const std::uint32_t first = FirstTagSum();
  if (same && checksums->First() == first) return dtsr_HasChecksums;
  // Either they are not of these data, or the header or the first tag is damaged.
  if (!Safety().bKnown(checksums->Filling(), first)) {
    Safety().Know(checksums->Filling(), first, bAnyMatches(*checksums));
  }
  if (!Safety().bAnyMatches()) return dtsr_OtherChecksums;
  return same ? dtsr_HasChecksums : dtsr_HeaderDiffers;
}

/// Whether any of some data all over the series matches its checksum.
bool dtsr_cFileSeriesBase::bAnyMatches(const detail::SeriesChecksums& checksums) const {
  constexpr std::int64_t most = 64;
  const std::int64_t n = std::min<std::int64_t>(writeIndex_, most);
  for (std::int64_t k = 0; k < n; ++k) {
    const auto i = static_cast<int>(n == 1 ? 0 : k * (writeIndex_ - 1) / (n - 1));
    const std::uint32_t sum = checksums.Sum(i);
    if (sum != 0 && sum == StoredSum(i, checksums.Filling())) return true;
  }
  return false;
}

dtsr_eChecked dtsr_cFileSeriesBase::Checked(int i) const {
  if (i < 0 || i >= writeIndex_) arr_IndexError(i, writeIndex_);
  if (Checksums() < dtsr_HasChecksums) return dtsr_Unchecked;
  const detail::SeriesChecksums& checksums = *Safety().Checksums(bstr_OpenReadOnly);
  const std::uint32_t sum = checksums.Sum(i);
  if (sum == 0) return dtsr_Unchecked;
  return sum == StoredSum(i, checksums.Filling()) ? dtsr_Right : dtsr_Wrong;
}

dtsr_eChecksums dtsr_cFileSeriesBase::KeepChecksums() {
  if (!bCanWrite()) ThrowCannotWrite();
  const dtsr_eChecksums before = OpenChecksums();
  if (!Safety().Checksums(bstr_OpenExisting)->Forget(writeIndex_)) ThrowCannotWriteChecksums();
  Safety().Keep();
  file_.SumOutput(true);
  return before;
}

int dtsr_cFileSeriesBase::Seal() {
  OpenChecksums();
  detail::SeriesChecksums& checksums = *Safety().Checksums(bstr_OpenExisting);
  int sealed = 0;
  for (int i = 0; i < writeIndex_; ++i) {
    const std::uint32_t sum = checksums.Sum(i) == 0 ? StoredSum(i, checksums.Filling()) : 0;
    if (sum == 0) continue;
    if (!checksums.SetSum(i, sum)) ThrowCannotWriteChecksums();
    ++sealed;
  }
  if (bstr_cBinary_fstream::bCanSync() && !(checksums.Sync() && checksums.SyncName())) {
    ThrowCannotWriteChecksums();
  }
  return sealed;
}

/// Opens the checksums for writing. Those that are not of these data are replaced by an empty file.
dtsr_eChecksums dtsr_cFileSeriesBase::OpenChecksums() {
  const dtsr_eChecksums before = Checksums();
  bool opened = false;
  if (before < dtsr_HasChecksums) {
    opened = bNewChecksums(FirstTagSum());
  } else {
    detail::SeriesChecksums* const checksums = Safety().Checksums(bstr_OpenExisting);
    opened = checksums != nullptr && checksums->bRead();
  }
  if (!opened) ThrowCannotWriteChecksums();
  return before;
}

bool dtsr_cFileSeriesBase::bNewChecksums(std::uint32_t firstTagSum) {
  detail::SeriesChecksums* const checksums = Safety().Checksums(bstr_CreateOrOpen);
  return checksums != nullptr && checksums->Forget(0) && checksums->SetHeader(FixedSum(), firstTagSum);
}

/// Before the first datum is counted: whatever checksums are there are not of this filling. Returns false on
/// failure.
bool dtsr_cFileSeriesBase::bBeginSums(const bstr_cMemory_ostream& tag, std::int64_t next) {
  return bNewChecksums(NonZero(detail::Crc32c(Covered(tag, writeIndex_, Size(), next))));
}

/// Stores the checksum of the datum being appended. Returns false on failure.
bool dtsr_cFileSeriesBase::bStoreSum(std::uint32_t datumSum, const bstr_cMemory_ostream& tag,
                                     std::int64_t next) {
  detail::SeriesChecksums& checksums = *safety_->Kept();
  const std::uint32_t sum = detail::Crc32c(Covered(tag, writeIndex_, Size(), next), datumSum);
  const std::int64_t length = next - tag.Size() - dataOffsets_[writeIndex_];
  return checksums.SetSum(writeIndex_, Stored(sum, checksums.Filling(), length));
}

/// Discards all checksums that appends have stored.
bool dtsr_cFileSeriesBase::bForgetSums() {
  return !safety_ || safety_->Kept() == nullptr || bNewChecksums(FirstTagSum());
}

/// The checksum of what never changes in the file while it holds this series.
std::uint32_t dtsr_cFileSeriesBase::FixedSum() const {
  if (fixedSum_ == 0) {
    std::uint32_t sum = 0;
    bAdd(file_, 0, SeriesHeader::TagTypeField, sum);
    bAdd(file_, SeriesHeader::TotalField, SeriesHeader::ValidField, sum);
    bAdd(file_, SeriesHeader::ListsField, offsetListPosition_, sum);
    fixedSum_ = NonZero(sum);
  }
  return fixedSum_;
}

/// The checksum of the first tag in the file; 0 for an empty series.
std::uint32_t dtsr_cFileSeriesBase::FirstTagSum() const {
  if (writeIndex_ == 0) return 0;
  std::uint32_t sum = 0;
  bAdd(file_, tagOffsets_[0], CoveredEnd(0), sum);
  return NonZero(sum);
}

/// Where the bytes of datum i that its checksum covers end.
std::int64_t dtsr_cFileSeriesBase::CoveredEnd(int i) const {
  std::array<unsigned char, detail::TagKindLength> kind{};
  file_.ReadNow(kind.data(), std::ssize(kind), tagOffsets_[i]);
  const std::int64_t tag = tagOffsets_[i], next = i + 1 < Size() ? dataOffsets_[i + 1] : 0;
  return tag + CoveredLength(detail::LoadLittleEndian<std::uint32_t>(kind.data()), tag, next);
}

/// The checksum of what the output has just written.
std::uint32_t dtsr_cFileSeriesBase::SumOfWritten(std::int64_t begin, std::int64_t end) const {
  std::uint32_t sum = 0;
  if (!file_.bOutputSum(begin, end, sum)) bAdd(file_, begin, end, sum);  // it was not written in order
  return sum;
}

/// The checksum of datum i in the file, as it is stored; 0 when not all of the datum is there.
std::uint32_t dtsr_cFileSeriesBase::StoredSum(int i, std::uint32_t filling) const {
  const std::int64_t data = dataOffsets_[i], tag = tagOffsets_[i];
  std::uint32_t sum = 0;
  const bool read = data >= Lists().End() && tag >= data && bAdd(file_, data, CoveredEnd(i), sum);
  return read ? Stored(sum, filling, tag - data) : 0;
}

void dtsr_cFileSeriesBase::ThrowCannotWriteChecksums(int line) const {
  source_file.ThrowUserError("Can't write checksums to " + Safety().ChecksumsPath() + ".", line);
}
