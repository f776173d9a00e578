#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include <DataStorage/series/memoryseries.h>

dtsr_cMemorySeriesBase::dtsr_cMemorySeriesBase(int size) : tags_(std::max(size, 0)) {
  if (size < 0) arr_IndexError(0, size);
}

int dtsr_cMemorySeriesBase::NextWriteIndex() const noexcept { return std::min(writeCount_, Size()); }

void dtsr_cMemorySeriesBase::GetTag(int i, dtsr_cDataTag& tag) const {
  if (i < 0 || i >= NextWriteIndex()) arr_IndexError(i, NextWriteIndex());
  const dtsr_cDataTag& stored = *tags_[AbsIndex(i)];
  tag.SetEqual(stored);
  tag.filledFrom_ = stored.TagTypeID();
}

void dtsr_cMemorySeriesBase::SetNewestTag(const dtsr_cDataTag& tag) {
  if (Size() == 0) arr_IndexError(0, 0);
  detail::TagPointer copy(tag.pCopy());
  if (!sampleTag_) {
    sampleTag_.reset(tag.pCopy());
    tagTypeID_ = tag.TagTypeID();
  }
  if (writeCount_ == std::numeric_limits<int>::max()) {
    writeCount_ = Size() + (writeCount_ - Size()) % Size();  // the same slot, without overflow
  }
  tags_[writeCount_ % Size()].swap(copy);
  ++writeCount_;
}

void dtsr_cMemorySeriesBase::SetSize(int n) {
  if (n == Size()) return;
  if (n < 0) arr_IndexError(0, n);
  arr_cArray<detail::TagPointer> resized(n);
  const int keep = std::min(NextWriteIndex(), n);
  const int first = NextWriteIndex() - keep;
  for (int i = 0; i < keep; ++i) resized[i].swap(tags_[AbsIndex(first + i)]);
  tags_ = std::move(resized);
  writeCount_ = keep;
}

int dtsr_cMemorySeriesBase::AbsIndex(int i) const {
  if (Size() == 0) arr_IndexError(i, 0);
  const std::int64_t oldest = std::max(writeCount_ - Size(), 0);
  return static_cast<int>((oldest + i) % Size());
}
