#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include <DataStorage/series/memoryseries.h>

namespace {

using TagList = arr_cArray<dtsr_cDataTag*>;

void DeleteTags(TagList& tags) noexcept {
  std::for_each(tags.Data(), tags.Data() + tags.Size(), std::default_delete<dtsr_cDataTag>());
}

}  // namespace

dtsr_cMemorySeriesBase::dtsr_cMemorySeriesBase(int size) : tags_(std::max(size, 0)) {
  if (size < 0) arr_IndexError(0, size);
}

dtsr_cMemorySeriesBase::dtsr_cMemorySeriesBase(const dtsr_cMemorySeriesBase& other)
    : dtsr_cMemorySeriesBase(other.Size()) {  // from here on the destructor deletes what was copied
  for (int slot = 0; slot < Size(); ++slot) {
    if (const dtsr_cDataTag* tag = other.tags_[slot]) tags_[slot] = tag->pCopy();
  }
  writeCount_ = other.writeCount_;
  sampleTag_.reset(other.pSampleTag());
  tagTypeID_ = other.tagTypeID_;
}

dtsr_cMemorySeriesBase& dtsr_cMemorySeriesBase::operator=(const dtsr_cMemorySeriesBase& other) {
  if (this != &other) {
    dtsr_cMemorySeriesBase copy(other);
    std::swap(tags_, copy.tags_);
    std::swap(writeCount_, copy.writeCount_);
    std::swap(sampleTag_, copy.sampleTag_);
    std::swap(tagTypeID_, copy.tagTypeID_);
  }
  return *this;
}

dtsr_cMemorySeriesBase::~dtsr_cMemorySeriesBase() { DeleteTags(tags_); }

int dtsr_cMemorySeriesBase::NextWriteIndex() const noexcept { return std::min(writeCount_, Size()); }

void dtsr_cMemorySeriesBase::GetTag(int i, dtsr_cDataTag& tag) const {
  if (i < 0 || i >= NextWriteIndex()) arr_IndexError(i, NextWriteIndex());
  const dtsr_cDataTag& stored = *tags_[AbsIndex(i)];
  tag.SetEqual(stored);
  tag.filledFrom_ = stored.TagTypeID();
}

void dtsr_cMemorySeriesBase::SetNewestTag(const dtsr_cDataTag& tag) {
  if (Size() == 0) arr_IndexError(0, 0);
  std::unique_ptr<dtsr_cDataTag> copy(tag.pCopy());
  if (!sampleTag_) {
    sampleTag_.reset(tag.pCopy());
    tagTypeID_ = tag.TagTypeID();
  }
  if (writeCount_ == std::numeric_limits<int>::max()) {
    writeCount_ = Size() + (writeCount_ - Size()) % Size();  // the same slots, with room to count on
  }
  dtsr_cDataTag*& slot = tags_[writeCount_ % Size()];
  ++writeCount_;
  copy.reset(std::exchange(slot, copy.release()));
}

void dtsr_cMemorySeriesBase::SetSize(int n) {
  if (n == Size()) return;
  if (n < 0) arr_IndexError(0, n);
  TagList resized(n);
  const int keep = std::min(NextWriteIndex(), n);
  const int first = NextWriteIndex() - keep;
  for (int i = 0; i < keep; ++i) std::swap(resized[i], tags_[AbsIndex(first + i)]);
  DeleteTags(tags_);
  tags_ = std::move(resized);
  writeCount_ = keep;
}

int dtsr_cMemorySeriesBase::AbsIndex(int i) const {
  if (Size() == 0) arr_IndexError(i, 0);
  const std::int64_t oldest = std::max(writeCount_ - Size(), 0);
  return static_cast<int>((oldest + i) % Size());
}
