#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/fileseries.h>

namespace {

constexpr detail::SourceFile source_file{"DataSeries"};

constexpr std::uint16_t FormatVersion = 0x0210;

// Fields of the header that are written again, and the end of the header.
constexpr std::int64_t TagTypeField = 10;
constexpr std::int64_t CountField = 18;
constexpr std::int64_t ListPositionField = 22;
constexpr std::int64_t HeaderEnd = 26;

constexpr std::int64_t SmallestTag = 8;
constexpr int ListBlock = 8192;  // entries that are moved at once

/// The length of both lists of a file with so many slots.
std::int64_t ListBytes(int slots) { return std::int64_t{8} * slots; }

/// A list that is read from a file next.
struct UnreadList : arr_cArray<long> {
  explicit UnreadList(int slots) : arr_cArray(arr_Unfilled, slots) {}
};

/// Four bytes of the file that change, and what they were.
struct WordChange {
  std::int64_t position;
  std::int64_t before;
  std::int64_t after;
};

bool WriteWord(bstr_cBinary_ostream& out, std::int64_t position, std::int64_t value) {
  return out.Seek(position) && bstr_WriteFields(out, static_cast<std::uint32_t>(value));
}

}  // namespace

/// Everything about a new file that can fail before the file is touched.
struct dtsr_cFileSeriesBase::Plan {
  Plan(const str_cString& path, const dtsr_cDimensionArray& dimensions, unsigned int dataTypeID) {
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      if (dimensions.Dimension(d).Size() < 0) arr_SizeError();
    }
    const int total = dimensions.TotalNumberIndices();
    if (total == 0) arr_IndexError();

    constexpr std::uint32_t noTagType = 0;
    constexpr std::int32_t noData = 0;
    constexpr std::int32_t noLists = 0;  // those who open the file too early are turned away by this
    bstr_WriteFields(head, flfm_LittleEndian, flfm_DataSeriesID, FormatVersion, std::uint32_t{dataTypeID},
                     noTagType, std::int32_t{total}, noData, noLists);
    dimensions.Write(head);
    if (head.Size() > std::numeric_limits<std::int32_t>::max() - ListBytes(total)) {
      source_file.ThrowUserError("Can't write to series file " + path + ".");
    }
    dataOffsets.SetSize(total);
    dataOffsets[0] = static_cast<long>(head.Size() + ListBytes(total));
    tagOffsets.SetSize(total);
  }

  bstr_cMemory_ostream head;  // the header and the dimensions
  arr_cArray<long> dataOffsets;
  arr_cArray<long> tagOffsets;
};

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const str_cString& path, const dtsr_cDimensionArray& dimensions,
                                           unsigned int dataTypeID)
    : dtsr_cFileSeriesBase(path, Plan(path, dimensions, dataTypeID)) {}

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const str_cString& path, Plan&& plan)
    : file_(path, bstr_CreateEmpty),
      offsetListPosition_(static_cast<long>(plan.head.Size())),
      dataOffsets_(std::move(plan.dataOffsets)),
      tagOffsets_(std::move(plan.tagOffsets)),
      created_(true) {
  if (!bGood()) source_file.ThrowUserError("Can't open series file " + path + ".");
  bstr_cBinary_ostream& out = file_.Output();
  const bool written = out.Write(plan.head.Data(), plan.head.Size()) && UpdatePointers() &&
                       WriteWord(out, ListPositionField, offsetListPosition_) && out.SetEnd(dataOffsets_[0]);
  if (!written || !bGood()) ThrowCannotWrite();
}

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const str_cString& path, unsigned int dataTypeID,
                                           bstr_eAccess access)
    : file_(path, access), readOnly_(access == bstr_OpenReadOnly) {
  if (!bGood()) source_file.ThrowUserError("Can't open series file " + path + ".");
  bstr_cBinary_istream& in = file_.Input();
  std::uint16_t mark, format, version;
  std::uint32_t storedDataType, storedTagType;
  if (bstr_ReadFields(in, mark, format, version) && bstr_ReadFields(in, storedDataType, storedTagType)) {
    if (mark != flfm_LittleEndian || format != flfm_DataSeriesID || version != FormatVersion) {
      source_file.ThrowUserError("Invalid format for " + path + ".");
    }
    if (storedDataType != dataTypeID) source_file.ThrowUserError("Invalid data type for " + path + ".");
    tagTypeID_ = storedTagType;
  }

  std::int32_t total, valid, lists;
  const bool plausible = bstr_ReadFields(in, total, valid, lists) && total > 0 && valid >= 0 &&
                         valid <= total && lists >= HeaderEnd && lists + ListBytes(total) <= in.Size();
  if (!plausible) ThrowCannotRead();
  writeIndex_ = valid;
  offsetListPosition_ = lists;
  dataOffsets_ = UnreadList(total);
  tagOffsets_ = UnreadList(total);
  if (!ReadLists() || !ListsInOrder() || !bGood()) ThrowCannotRead();
}

dtsr_cFileSeriesBase::dtsr_cFileSeriesBase(const dtsr_cFileSeriesBase& other)
    : file_(other.file_),
      offsetListPosition_(other.offsetListPosition_),
      dataOffsets_(other.dataOffsets_),
      tagOffsets_(other.tagOffsets_),
      writeIndex_(other.writeIndex_),
      created_(other.created_),
      sampleTag_(other.pSampleTag()),
      tagTypeID_(other.tagTypeID_),
      keptTags_(other.keptTags_),
      readOnly_(other.readOnly_),
      listsInFile_(other.listsInFile_) {}

dtsr_cFileSeriesBase& dtsr_cFileSeriesBase::operator=(const dtsr_cFileSeriesBase& other) {
  if (this != &other) {
    dtsr_cFileSeriesBase copy(other);
    file_ = copy.file_;
    offsetListPosition_ = copy.offsetListPosition_;
    dataOffsets_ = std::move(copy.dataOffsets_);
    tagOffsets_ = std::move(copy.tagOffsets_);
    writeIndex_ = copy.writeIndex_;
    created_ = copy.created_;
    sampleTag_ = std::move(copy.sampleTag_);
    tagTypeID_ = copy.tagTypeID_;
    keptTags_ = std::move(copy.keptTags_);
    readOnly_ = copy.readOnly_;
    listsInFile_ = copy.listsInFile_;
  }
  return *this;
}

dtsr_cFileSeriesBase::~dtsr_cFileSeriesBase() = default;

void dtsr_cFileSeriesBase::ReadDimensionArray(dtsr_cDimensionArray& dimensions) {
  // Read from a copy of the bytes before the lists, so that no count or length can claim more than these.
  bstr_cBinary_istream& in = file_.Input();
  std::vector<unsigned char> bytes(static_cast<std::size_t>(offsetListPosition_ - HeaderEnd));
  const auto n = static_cast<std::int64_t>(bytes.size());
  if (!in.Seek(HeaderEnd) || !in.Read(bytes.data(), n)) ThrowCannotRead();
  bstr_cMemory_istream region(bytes.data(), n);
  dtsr_cDimensionArray read;
  bool whole = false;
  try {
    read.Read(region);
    whole = region.bGood() && read.TotalNumberIndices() == Size();
  } catch (const expt_cProgramException&) {
  }
  if (!whole) ThrowCannotRead();
  dimensions = read;
}

void dtsr_cFileSeriesBase::GetTag(int i, dtsr_cDataTag& tag) const {
  if (!sampleTag_) sampleTag_.reset(tag.pCopy());
  const long position = tagOffsets_[i];
  if (i < std::ssize(keptTags_) || KeepNextTag(i)) {
    const KeptTag& kept = keptTags_[static_cast<std::size_t>(i)];
    bstr_cMemory_istream in(kept.bytes.data(), kept.length);
    ReadTag(in, tag);
    file_.Input().Seek(position + in.Position());  // as if it had been read there
  } else {
    file_.Input().Seek(position);
    ReadTag(file_.Input(), tag);
  }
}

void dtsr_cFileSeriesBase::SetNewestTag(const dtsr_cDataTag& tag) {
  const int i = writeIndex_;
  if (i >= Size()) arr_IndexError();
  bstr_cBinary_ostream& out = file_.Output();
  const std::int64_t tagOffset = out.Position();
  if (!out.bGood() || tagOffset < dataOffsets_[i]) ThrowCannotWrite();

  std::unique_ptr<dtsr_cDataTag> firstTag(sampleTag_ ? nullptr : tag.pCopy());
  bstr_cMemory_ostream tagBytes;
  tag.Write(tagBytes);
  const std::int64_t nextData = tagOffset + tagBytes.Size();

  // In this order, so that whoever opens the file in between, or after this process was killed, finds the
  // offsets of all data that the count includes.
  std::array<WordChange, 4> changes;
  auto end = changes.begin();
  const std::int64_t tagList = offsetListPosition_ + ListBytes(Size()) / 2;
  if (i + 1 < Size()) {
    *end++ = {offsetListPosition_ + 4 * std::int64_t{i + 1}, dataOffsets_[i + 1], nextData};
  }
  *end++ = {tagList + 4 * std::int64_t{i}, tagOffsets_[i], tagOffset};
  *end++ = {CountField, i, i + 1};
  if (firstTag) *end++ = {TagTypeField, tagTypeID_, tag.TagTypeID()};

  bool written = out.Write(tagBytes.Data(), tagBytes.Size());
  listsInFile_ = listsInFile_ || (written && WriteLists());
  written = written && listsInFile_;
  auto change = changes.begin();
  while (written && change != end) {
    written = WriteWord(out, change->position, change->after);
    ++change;
  }
  if (!written) {
    while (change != changes.begin()) {
      --change;
      WriteWord(out, change->position, change->before);
    }
    ThrowCannotWrite();
  }

  if (i + 1 < Size()) dataOffsets_[i + 1] = static_cast<long>(nextData);
  tagOffsets_[i] = static_cast<long>(tagOffset);
  writeIndex_ = i + 1;
  if (firstTag) {
    tagTypeID_ = firstTag->TagTypeID();
    sampleTag_ = std::move(firstTag);
  }
}

void dtsr_cFileSeriesBase::ResetWriteIndex() {
  arr_cArray<long> dataOffsets(Size());
  arr_cArray<long> tagOffsets(Size());
  bstr_cBinary_ostream& out = file_.Output();
  if (!out.SetEnd(offsetListPosition_ + ListBytes(Size()))) ThrowCannotWrite();
  dataOffsets[0] = static_cast<long>(out.Position());
  int writeIndex = 0;

  const auto exchange = [&] {
    std::swap(dataOffsets_, dataOffsets);
    std::swap(tagOffsets_, tagOffsets);
    std::swap(writeIndex_, writeIndex);
  };
  exchange();
  const bool written = UpdatePointers();
  if (!written) exchange();
  // The count comes last when the old lists are put back: it must not speak of data that they do not show.
  listsInFile_ = written || (WriteLists() && WriteWord(out, CountField, writeIndex_));
  if (!written) ThrowCannotWrite();
  keptTags_.clear();
}

type_cBoolean dtsr_cFileSeriesBase::UpdatePointers() {
  return WriteWord(file_.Output(), CountField, writeIndex_) && WriteLists();
}

/// Keeps tag i where it follows the kept ones; false when it does not, or is none of the short tags that the
/// next datum follows.
bool dtsr_cFileSeriesBase::KeepNextTag(int i) const {
  if (i != std::ssize(keptTags_) || i >= writeIndex_ || i + 1 >= Size()) return false;
  KeptTag tag;
  const long length = dataOffsets_[i + 1] - tagOffsets_[i];
  if (length <= 0 || length > std::ssize(tag.bytes)) return false;
  tag.length = length;
  bstr_cBinary_istream& in = file_.Input();
  if (!in.Seek(tagOffsets_[i]) || !in.Read(tag.bytes.data(), length)) return false;
  keptTags_.push_back(tag);
  return true;
}

void dtsr_cFileSeriesBase::ReadTag(bstr_cBinary_istream& in, dtsr_cDataTag& tag) const {
  tag.Read(in);
  if (!in.bGood() || !bOutputGood()) source_file.ThrowUserError("Can't read tag.");
}

bool dtsr_cFileSeriesBase::ReadLists() {
  bstr_cBinary_istream& in = file_.Input();
  if (!in.Seek(offsetListPosition_)) return false;
  std::array<std::int32_t, ListBlock> block;
  for (arr_cArray<long>* list : {&dataOffsets_, &tagOffsets_}) {
    long* const end = list->Data() + list->Size();
    for (long* entry = list->Data(); entry != end;) {
      const std::int64_t n = std::min<std::int64_t>(ListBlock, end - entry);
      if (!bstr_ReadNumbers(in, block.data(), n)) return false;
      entry = std::copy_n(block.data(), n, entry);
    }
  }
  return true;
}

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

bool dtsr_cFileSeriesBase::ListsInOrder() const {
  const long* data = dataOffsets_.Data();
  const long* tags = tagOffsets_.Data();
  std::int64_t free = offsetListPosition_ + ListBytes(Size());
  for (int i = 0; i < writeIndex_; ++i) {
    if (data[i] < free || tags[i] < data[i]) return false;
    free = tags[i] + SmallestTag;
  }
  return writeIndex_ == Size() || data[writeIndex_] >= free;
}

void dtsr_cFileSeriesBase::ThrowCannotRead(int line) const {
  source_file.ThrowUserError("Can't read series file " + FilePath() + ".", line);
}

void dtsr_cFileSeriesBase::ThrowCannotWrite(int line) const {
  // The failure is told by the exception: the stream must not go on refusing.
  bstr_cBinary_ostream& out = file_.Output();
  out.Seek(writeIndex_ < Size() ? dataOffsets_[writeIndex_] : out.Position());
  source_file.ThrowUserError("Can't write to series file " + FilePath() + ".", line);
}
