#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/detail/seriesformat.h>
#include <DataStorage/series/detail/seriessafety.h>
#include <DataStorage/series/fileseries.h>

namespace {

using detail::SeriesHeader;
using detail::SeriesLists;
using Entry = SeriesLists::Entry;

constexpr detail::SourceFile source_file{"DataSeries"};

// Results of RoomAt other than a number of bytes.
constexpr std::int64_t NoRoom = -1;
constexpr std::int64_t Unlimited = std::numeric_limits<std::int64_t>::max();

/// The offset of a datum that must not be written: so far below 0 that positions relative to it are never in
/// the file.
constexpr std::int32_t Nowhere = std::numeric_limits<std::int32_t>::min();

constexpr int ListBlock = 8192;  // entries read or written at once

/// An uninitialised offset list, to be read from a file.
struct UnreadList : arr_cArray<long> {
  explicit UnreadList(int slots) : arr_cArray(arr_Unfilled, slots) {}
};

/// Reads the packed entries of a list into the end of the memory of `list`.
bool ReadPacked(bstr_cBinary_istream& in, arr_cArray<long>& list, const unsigned char*& packed) {
  const std::int64_t bytes = list.Size() * std::int64_t{sizeof(Entry)};
  auto* const begin = reinterpret_cast<unsigned char*>(list.Data() + list.Size()) - bytes;
  packed = begin;
  return in.Read(begin, bytes);
}

/// a - b; exact unless one of them is negative.
Entry Difference(Entry a, Entry b) {
  return static_cast<Entry>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

/// Spreads packed entries to places where no packed ones are. Returns a negative number unless all of them
/// are in the range of `lowest` to `highest`, which may be negative.
Entry Spread(const unsigned char* packed, std::int64_t count, long* entries, Entry lowest, Entry highest) {
  Entry signs = 0;
  for (std::int64_t k = 0; k < count; ++k) {
    const Entry entry = SeriesLists::EntryAt(packed, k);
    signs |= entry | Difference(entry, lowest) | Difference(highest, entry);
    entries[k] = entry;
  }
  return signs;
}

/// Unpacks a list in its own memory, from the beginning. Returns whether the first `counted` entries are in
/// the range of `lowest` to `highest`.
bool Unpack(const unsigned char* packed, arr_cArray<long>& list, int counted, Entry lowest, Entry highest) {
  Entry signs = 0;
  // In halves of the rest: the memory that they are written to holds no packed entries that are still needed.
  for (int begin = 0, end; begin < list.Size(); begin = end) {
    end = begin + std::max((list.Size() - begin) / 2, 1);
    if (begin < counted) end = std::min(end, counted);
    const Entry here = Spread(packed + begin * std::int64_t{sizeof(Entry)}, end - begin, list.Data() + begin,
                              lowest, highest);
    if (begin < counted) signs |= here;
  }
  return signs >= 0;
}

/// A 4-byte field of the file to be changed, with its old and new value.
struct WordChange {
  std::int64_t position;
  std::int64_t before;
  std::int64_t after;
};

/// The minimum length of the tag at `position`. A tag of unknown kind may have any length, but begins with
/// its identifier if that is the kind of the series.
std::int64_t TagLength(bstr_cBinary_istream& in, std::int64_t position, unsigned int seriesKind) {
  std::uint32_t kind;
  if (in.Size() - position < detail::TagKindLength) return 0;
  if (!in.Seek(position) || !bstr_ReadFields(in, kind) || kind == obty_2DPositionType)
    return detail::PositionTagLength;
  if (kind == obty_DataTagType) return detail::PlainTagLength;
  return kind == seriesKind ? detail::TagKindLength : 0;
}

/// Buffers what a tag writes at its place in the file, so that one write stores it.
class TagOutput final : public bstr_cBinary_ostream {
 public:
  explicit TagOutput(std::int64_t place) : place_(place) {}

  type_cBoolean Write(const void* bytes, std::int64_t n) override { return tag_.Write(bytes, n); }
  type_cBoolean Seek(std::int64_t position) override { return tag_.Seek(position - place_); }
  std::int64_t Position() const override { return place_ + tag_.Position(); }
  type_cBoolean SetEnd(std::int64_t position) override { return Seek(position); }
  type_cBoolean bGood() const override { return tag_.bGood(); }
  const bstr_cMemory_ostream& Tag() const { return tag_; }

 private:
  std::int64_t place_;
  bstr_cMemory_ostream tag_;
};

bool WriteWord(bstr_cBinary_ostream& out, std::int64_t position, std::int64_t value) {
  return out.Seek(position) && bstr_WriteFields(out, static_cast<std::uint32_t>(value));
}

str_cString CannotOpen(const str_cString& path) { return "Can't open series file " + path + "."; }

}  // namespace

dtsr_cFileLockedException::dtsr_cFileLockedException(const char* file, int line, const str_cString& path,
                                                     const str_cString& holder)
    : expt_cUserException(file, line, CannotOpen(path) + " It is locked by " + holder + "."),
      holder_(holder) {}

dtsr_cFileLockedException::~dtsr_cFileLockedException() = default;

/// The contents of a new file. The constructor makes all checks that need no access to the file.
struct dtsr_cFileSeriesBase::Plan {
  Plan(const str_cString& path, const dtsr_cDimensionArray& dimensions, unsigned int dataType)
      : dataTypeID(dataType) {
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      if (const int size = dimensions.Dimension(d).Size(); size < 0) arr_SizeError(size);
    }
    const int total = dimensions.TotalNumberIndices();
    if (total == 0) arr_IndexError(0, total);
    SeriesHeader header;  // lists is still 0, so that the file cannot be opened before it is complete
    header.dataType = dataTypeID;
    header.total = total;
    header.Write(head);
    dimensions.Write(head);
    const SeriesLists lists{head.Size(), total};
    if (lists.End() > detail::LastSeriesPosition) {
      source_file.ThrowUserError("Can't write to series file " + path + ".");
    }
    dataOffsets.SetSize(total);
    dataOffsets[0] = static_cast<long>(lists.End());
    tagOffsets.SetSize(total);
  }

  unsigned int dataTypeID;
  bstr_cMemory_ostream head;  // the header and the dimensions
  arr_cArray<long> dataOffsets;
  arr_cArray<long> tagOffsets;
};

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const str_cString& path, const dtsr_cDimensionArray& dimensions,
                                           unsigned int dataTypeID, bstr_eAccess access)
    : dtsr_cFileSeriesBase(path, Plan(path, dimensions, dataTypeID), access) {}

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const str_cString& path, Plan&& plan, bstr_eAccess access)
    : file_(path, access),
      offsetListPosition_(static_cast<long>(plan.head.Size())),
      dataOffsets_(std::move(plan.dataOffsets)),
      tagOffsets_(std::move(plan.tagOffsets)),
      created_(true),
      tail_(dataOffsets_[0]),
      dataTypeID_(plan.dataTypeID) {
  if (!bGood()) ThrowCannotOpen();
  bstr_cBinary_ostream& out = file_.Output();
  const bool written = out.Write(plan.head.Data(), plan.head.Size()) && WritePointers() &&
                       WriteWord(out, SeriesHeader::ListsField, offsetListPosition_) &&
                       out.SetEnd(dataOffsets_[0]);
  if (!written || !bGood()) ThrowCannotWrite();
}

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const str_cString& path, unsigned int dataTypeID,
                                           bstr_eAccess access)
    : file_(path, access), dataTypeID_(dataTypeID), readOnly_(access == bstr_OpenReadOnly) {
  if (!bGood()) ThrowCannotOpen();
  bstr_cBinary_istream& in = file_.Input();
  SeriesHeader header;
  if (header.ReadKind(in)) {
    if (!header.bSeriesFile() || header.version != SeriesHeader::KnownVersion) {
      source_file.ThrowUserError("Invalid format for " + path + ".");
    }
    if (header.dataType != dataTypeID) source_file.ThrowUserError("Invalid data type for " + path + ".");
  }

  const bool plausible = header.ReadContents(in) && header.valid >= 0 && header.valid <= header.total &&
                         header.Lists().bFit(in.Size());
  if (!plausible || !bReadLists(header)) ThrowCannotRead();
  RememberNewest();
}

/// Reads both lists and takes over the header; changes nothing when they cannot be read.
bool dtsr_cFileSeriesBase::bReadLists(const SeriesHeader& header) {
  bstr_cBinary_istream& in = file_.Input();
  arr_cArray<long> dataOffsets = UnreadList(header.total), tagOffsets = UnreadList(header.total);
  const unsigned char *data = nullptr, *tags = nullptr;
  const bool read =
      in.Seek(header.lists) && ReadPacked(in, dataOffsets, data) && ReadPacked(in, tagOffsets, tags);
  if (!read || !bGood()) return false;
  writeIndex_ = header.valid;
  tagTypeID_ = header.tagType;
  offsetListPosition_ = header.lists;
  dataOffsets_ = std::move(dataOffsets);
  tagOffsets_ = std::move(tagOffsets);
  // When all data but the newest lie between the lists and the next place, only the newest can be in its way.
  const int others = std::max(writeIndex_ - 1, 0);
  const auto begin = static_cast<Entry>(Lists().End());
  const Entry next = writeIndex_ < Size() ? std::max(SeriesLists::EntryAt(data, writeIndex_), 0) : 0;
  const auto end = static_cast<Entry>(next - detail::PositionTagLength);
  const bool data_between = Unpack(data, dataOffsets_, others, begin, end);
  const bool tags_between = Unpack(tags, tagOffsets_, others, begin, end);
  if (!readOnly_) GuardNextPlace(data_between && tags_between ? others : 0);
  return true;
}

dtsr_cFileSeriesBase::~dtsr_cFileSeriesBase() = default;

void dtsr_cFileSeriesBase::ReadDimensionArray(dtsr_cDimensionArray& dimensions) {
  // Read from a copy of the bytes before the lists, so that no count or length can exceed these.
  bstr_cBinary_istream& in = file_.Input();
  std::vector<unsigned char> bytes(static_cast<std::size_t>(offsetListPosition_ - SeriesHeader::End));
  const auto n = static_cast<std::int64_t>(bytes.size());
  if (!in.Seek(SeriesHeader::End) || !in.Read(bytes.data(), n)) ThrowCannotRead();
  bstr_cMemory_istream region(bytes.data(), n);
  dtsr_cDimensionArray read;
  read.Read(region);
  bool asManyIndices = false;
  try {
    asManyIndices = region.bGood() && read.TotalNumberIndices() == Size();
  } catch (const arr_cSizeException&) {
  }
  if (!asManyIndices) ThrowCannotRead();
  dimensions = read;
}

bool dtsr_cFileSeriesBase::bHasDimensions(const dtsr_cDimensionArray& dimensions) {
  dtsr_cDimensionArray stored;
  ReadDimensionArray(stored);
  bstr_cMemory_ostream present, required;
  stored.Write(present);
  dimensions.Write(required);
  return present.Size() == required.Size() &&
         std::memcmp(present.Data(), required.Data(), static_cast<std::size_t>(required.Size())) == 0;
}

void dtsr_cFileSeriesBase::RequireDimensions(const dtsr_cDimensionArray& dimensions) {
  if (!bHasDimensions(dimensions)) source_file.ThrowUserError("Invalid dimensions for " + FilePath() + ".");
}

/// Never reads or writes again where another series is now.
dtsr_eRefreshed dtsr_cFileSeriesBase::Abandon() {
  abandoned_ = true;
  writeIndex_ = 0;
  dataOffsets_[0] = Nowhere;
  ForgetNextPlace();
  file_.Forget(0);
  return dtsr_Replaced;
}

void dtsr_cFileSeriesBase::GetTag(int i, dtsr_cDataTag& tag) const {
  if (!sampleTag_) sampleTag_.reset(tag.pCopy());
  bstr_cKeptReading kept(file_, tagOffsets_[i]);
  tag.Read(kept.Input());
  if (!bGood()) source_file.ThrowUserError("Can't read tag.");
}

/// Compares the bytes of tags in the file with those of `tag` when that is exactly a dtsr_cDataTag or a
/// dtsr_c2DPosition; returns 0 for tags of other classes.
int dtsr_cFileSeriesBase::FirstLike(const dtsr_cDataTag& tag, type_cBoolean compareTime) const {
  const bool placed = typeid(tag) == typeid(dtsr_c2DPosition);
  if (!placed && typeid(tag) != typeid(dtsr_cDataTag)) return 0;
  const int n = std::min(writeIndex_, Size());
  if (n > 0 && !sampleTag_) sampleTag_.reset(tag.pCopy());
  const auto* const place = placed ? static_cast<const dtsr_c2DPosition*>(&tag) : nullptr;
  const double x = placed ? place->X() : 0, y = placed ? place->Y() : 0;
  const unsigned int kind = tag.TagTypeID();
  const long time = tag.Time();
  const auto bLike = [&](const unsigned char* record) {
    return (!placed || (detail::LoadLittleEndian<double>(record + 8) == x &&
                        detail::LoadLittleEndian<double>(record + 16) == y)) &&
           (!compareTime || detail::LoadLittleEndian<std::int32_t>(record + 4) == time) &&
           detail::LoadLittleEndian<std::uint32_t>(record) == kind;
  };
  // The length of the series' own tags, so that searches for either kind keep the same records.
  const bool positions = placed || tagTypeID_ == obty_2DPositionType;
  const std::int64_t length = positions ? detail::PositionTagLength : detail::PlainTagLength;
  for (int i = 0; i < n;) {
    const auto records = bstr_cKeptReading::Records(file_, &tagOffsets_[i], n - i, length);
    if (records.empty()) return i;
    const unsigned char* const end = records.data() + records.size();
    for (const unsigned char* record = records.data(); record != end; record += length, ++i) {
      if (bLike(record)) return i;
    }
  }
  return n;
}

void dtsr_cFileSeriesBase::SetNewestTag(const dtsr_cDataTag& tag) {
  const int i = writeIndex_;
  if (i >= Size()) arr_IndexError(i, Size());
  bstr_cBinary_ostream& out = file_.Output();
  const std::int64_t place = dataOffsets_[i];
  const std::int64_t tagOffset = out.Position();
  if (!out.bGood() || tagOffset < place) ThrowCannotWrite();

  // A sample tag may come from GetTag, before any tag was stored; the type must be written then too.
  const bool first = !sampleTag_ || tagTypeID_ == 0;
  detail::TagPointer firstTag(first ? tag.pCopy() : nullptr);
  TagOutput tagOutput(tagOffset);
  tag.Write(tagOutput);
  const bstr_cMemory_ostream& tagBytes = tagOutput.Tag();
  const std::int64_t nextData = tagOffset + tagBytes.Size();
  const bool behindAll = bBehindAll(place);
  const bool strict = safety_ && safety_->Durability() == dtsr_DurabilityStrict;
  const bool due = safety_ && safety_->bDue();
  const bool summed = safety_ && safety_->Kept() != nullptr;
  if (bSyncFailed() || !tagBytes.bGood() || (!behindAll && nextData - place > RoomAt(place, 0)))
    ThrowCannotWrite();

  // In this order, so that a process that opens the file in between, or after this process was killed, finds
  // the offsets of all data that are counted.
  std::array<WordChange, 5> changes;
  auto end = changes.begin();
  if (place != tail_) {  // the concrete series may have set it
    *end++ = {Lists().DataEntry(i), place, place};
  }
  if (i + 1 < Size()) {
    *end++ = {Lists().DataEntry(i + 1), dataOffsets_[i + 1], nextData};
  }
  *end++ = {Lists().TagEntry(i), tagOffsets_[i], tagOffset};
  *end++ = {SeriesHeader::ValidField, i, i + 1};
  if (firstTag) *end++ = {SeriesHeader::TagTypeField, tagTypeID_, tag.TagTypeID()};

  const std::uint32_t sum = summed ? SumOfWritten(place, tagOffset) : 0;
  bool written = out.Write(tagBytes.Data(), tagBytes.Size());
  listsInFile_ = listsInFile_ || (written && WriteLists());
  written = written && listsInFile_ && (!summed || i > 0 || bBeginSums(tagBytes, nextData));
  auto change = changes.begin();
  while (written && change != end) {
    if (strict && change->position == SeriesHeader::ValidField && !safety_->Sync()) break;
    written = WriteWord(out, change->position, change->after);
    ++change;
  }
  // Last, so that none is left for another datum in this slot, which may then come without one.
  written = written && (!summed || bStoreSum(sum, tagBytes, nextData));
  written = written && (!due || safety_->Sync());
  if (!written) {
    if (summed) safety_->Kept()->SetSum(i, 0);
    while (change != changes.begin()) {
      --change;
      WriteWord(out, change->position, change->before);
    }
    ThrowCannotWrite();
  }

  if (i + 1 < Size()) dataOffsets_[i + 1] = static_cast<long>(nextData);
  tagOffsets_[i] = static_cast<long>(tagOffset);
  writeIndex_ = i + 1;
  known_.tagLength = -1;
  if (firstTag) {
    tagTypeID_ = firstTag->TagTypeID();
    sampleTag_ = std::move(firstTag);
  }
  if (safety_ && !due) safety_->CountAppended();
  if (behindAll) {
    tail_ = nextData;
  } else {
    GuardNextPlace();
  }
}

void dtsr_cFileSeriesBase::ResetWriteIndex() {
  arr_cArray<long> dataOffsets(Size());
  arr_cArray<long> tagOffsets(Size());
  bstr_cBinary_ostream& out = file_.Output();
  if (abandoned_ || bSyncFailed() || !out.SetEnd(Lists().End())) ThrowCannotWrite();
  dataOffsets[0] = static_cast<long>(out.Position());
  int writeIndex = 0;

  const auto exchange = [&] {
    std::swap(dataOffsets_, dataOffsets);
    std::swap(tagOffsets_, tagOffsets);
    std::swap(writeIndex_, writeIndex);
  };
  exchange();
  const bool written = WritePointers() && bForgetSums() && bSynced();
  if (!written) exchange();
  // When the old lists are restored, the count is written last: it must not include data that are not in the
  // lists.
  listsInFile_ = written || (WriteLists() && WriteWord(out, SeriesHeader::ValidField, writeIndex_));
  if (!written) ThrowCannotWrite();
  ForgetNextPlace();
  known_.tagLength = -1;
  tail_ = dataOffsets_[0];
}

type_cBoolean dtsr_cFileSeriesBase::UpdatePointers() {
  ForgetNextPlace();
  known_.tagLength = -1;
  return listsInFile_ = !abandoned_ && bSynced() && WritePointers() && bForgetSums() && bSynced();
}

bool dtsr_cFileSeriesBase::WritePointers() {
  return WriteWord(file_.Output(), SeriesHeader::ValidField, writeIndex_) && WriteLists();
}

SeriesLists dtsr_cFileSeriesBase::Lists() const { return {offsetListPosition_, Size()}; }

bool dtsr_cFileSeriesBase::WriteLists() {
  bstr_cBinary_ostream& out = file_.Output();
  if (!out.Seek(offsetListPosition_)) return false;
  std::array<std::int32_t, ListBlock> block;
  for (const arr_cArray<long>* list : {&dataOffsets_, &tagOffsets_}) {
    const long* const end = list->Data() + list->Size();
    for (const long* entry = list->Data(); entry != end;) {
      const std::int64_t n = std::min<std::int64_t>(ListBlock, end - entry);
      std::transform(entry, entry + n, block.begin(), [](long v) { return static_cast<std::int32_t>(v); });
      if (!bstr_WriteNumbers(out, block.data(), n)) return false;
      entry += n;
    }
  }
  return true;
}

/// The number of bytes from `place` to the next valid datum or tag, those before datum `first` ignored.
/// `NoRoom` when `place` is in one, and when valid data overlap the lists, which an append writes too.
std::int64_t dtsr_cFileSeriesBase::RoomAt(std::int64_t place, int first) const {
  bstr_cBinary_fstream file(file_);  // a position of its own, for reading tags
  bstr_cBinary_istream& in = file.Input();
  const std::int64_t listsEnd = Lists().End();
  if (place < listsEnd || !in.Seek(place)) return NoRoom;
  std::int64_t end = Unlimited;
  for (int k = first; k < writeIndex_; ++k) {
    const std::int64_t data = dataOffsets_[k];
    const std::int64_t tag = tagOffsets_[k];
    if (data < listsEnd || tag < listsEnd) return NoRoom;
    if (data == place || (data < place && place < tag)) return NoRoom;
    if (tag <= place && place < tag + detail::PositionTagLength &&
        place < tag + TagLength(in, tag, tagTypeID_)) {
      return NoRoom;
    }
    if (data > place) end = std::min(end, data);
    if (tag > place) end = std::min(end, tag);
  }
  return end == Unlimited ? end : end - place;
}

/// Prevents the concrete series from writing the next datum over valid ones. Needed when its place was read
/// from the file or lies between valid data. Requires that data before `first` are not in the way.
void dtsr_cFileSeriesBase::GuardNextPlace(int first) {
  ForgetNextPlace();
  if (writeIndex_ >= Size()) return;
  long& place = dataOffsets_[writeIndex_];
  const std::int64_t room = RoomAt(place, first);
  if (room == Unlimited) {
    tail_ = place;
  } else if (room == NoRoom) {
    place = Nowhere;
  } else {
    file_.LimitOutput(place, place + room);
  }
}

void dtsr_cFileSeriesBase::ForgetNextPlace() {
  tail_ = -1;
  file_.LimitOutput(-1, 0);
}

void dtsr_cFileSeriesBase::ThrowCannotOpen(int line) const {
  switch (file_.Lock()) {
    case bstr_LockTaken: {
      const str_cString holder = bstr_LockHolder(FilePath());
      throw dtsr_cFileLockedException(source_file.name, line, FilePath(),
                                      holder == "" ? str_cString("another process") : holder);
    }
    case bstr_LockMissing:
      source_file.ThrowUserError(CannotOpen(FilePath()) + " It cannot be locked on this system.", line);
    default:
      source_file.ThrowUserError(CannotOpen(FilePath()), line);
  }
}

void dtsr_cFileSeriesBase::ThrowCannotRead(int line) const {
  source_file.ThrowUserError("Can't read series file " + FilePath() + ".", line);
}

void dtsr_cFileSeriesBase::ThrowCannotReadDatum(int i, int line) const {
  const str_cString datum("Can't read datum " + std::to_string(i) + " of ");
  source_file.ThrowUserError(datum + FilePath() + ".", line);
}

void dtsr_cFileSeriesBase::ThrowCannotWrite(int line) const {
  // The exception reports the failure, so the stream is made good again.
  bstr_cBinary_ostream& out = file_.Output();
  const long place = writeIndex_ < Size() ? dataOffsets_[writeIndex_] : -1;
  if (!out.Seek(place)) out.Seek(out.Position());
  const char* const why = bSyncFailed() ? " It could not be synced." : "";
  source_file.ThrowUserError("Can't write to series file " + FilePath() + "." + why, line);
}
