#pragma once

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/series/datatag.h>

/// The tags of a series in memory, as a ring: when it is full, each new datum replaces the oldest.
///
/// A concrete series holds its data in a ring of the same capacity. To add a datum it stores it in slot
/// `AbsIndex(NextWriteIndex())` and then calls `SetNewestTag`; datum i, 0 being the oldest that is still
/// held, is in slot `AbsIndex(i)`. An operation that throws leaves the series unchanged.
class DATASTORAGE_EXPORT dtsr_cMemorySeriesBase {
 public:
  /// A negative capacity throws arr_cIndexException; with a capacity of 0 every append does.
  dtsr_cMemorySeriesBase(int size);
  /// Copies the tags.
  dtsr_cMemorySeriesBase(const dtsr_cMemorySeriesBase&) = default;
  /// Copies the capacity and the tags.
  dtsr_cMemorySeriesBase& operator=(const dtsr_cMemorySeriesBase& other) {
    return *this = dtsr_cMemorySeriesBase(other);
  }

  /// The capacity.
  int Size() const noexcept { return tags_.Size(); }
  /// The number of data held.
  int NextWriteIndex() const noexcept;
  /// Empties the series; the tag type and the sample tag stay.
  void ResetWriteIndex() noexcept { writeCount_ = 0; }
  /// The kind of the first tag ever stored; 0 until then.
  unsigned int TagTypeID() const noexcept { return tagTypeID_; }
  /// A new copy of the first tag ever stored, owned by the caller; null until then.
  dtsr_cDataTag* pSampleTag() const { return sampleTag_.pCopy(); }
  /// Sets the caller's tag equal to that of datum i; throws arr_cIndexException unless 0 <= i <
  /// NextWriteIndex().
  void GetTag(int i, dtsr_cDataTag& tag) const;
  /// Stores a copy of the tag of a new datum.
  void SetNewestTag(const dtsr_cDataTag& tag);
  /// Changes the capacity and keeps the newest data, the oldest of them in slot 0. A negative capacity throws
  /// arr_cIndexException. A concrete series rearranges its own data in the same way and calls this.
  virtual void SetSize(int n);

 protected:
  /// The slot of datum i; a series of capacity 0 has none and throws arr_cIndexException.
  int AbsIndex(int i) const;

 private:
  template <class Store>
  friend class dtsr_cStoredSeries;
  /// As in the file store; any tag may equal it.
  static int FirstLike(const dtsr_cDataTag&, type_cBoolean) { return 0; }
  // Moves from a temporary copy.
  dtsr_cMemorySeriesBase& operator=(dtsr_cMemorySeriesBase&&) noexcept = default;

  arr_cArray<detail::TagPointer> tags_;  // null until one is stored
  int writeCount_ = 0;                   // tags stored since construction or reset; may exceed the capacity
  detail::TagPointer sampleTag_;
  unsigned int tagTypeID_ = 0;
};
