#pragma once

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/type.h>
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/dimension.h>

/// A collection of data over calibrated dimensions, each datum with a tag. Datum k is the one at the index
/// vector `DimensionArray().IndexPosition(k)`.
///
/// A concrete series derives from `dtsr_cStoredSeries`, which combines this class with a store,
/// `dtsr_cMemorySeriesBase` or `dtsr_cFileSeriesBase`, and implements the pure functions by those of the
/// store. `dtsr_cMemorySeries` and `dtsr_cFileSeries` are ready to use.
class DATASTORAGE_EXPORT dtsr_cDataSeriesBase {
 public:
  dtsr_cDataSeriesBase(const dtsr_cDataSeriesBase&) = default;
  dtsr_cDataSeriesBase& operator=(const dtsr_cDataSeriesBase&) = default;
  virtual ~dtsr_cDataSeriesBase();

  /// The capacity: how many data the store can hold.
  virtual int Size() const = 0;
  /// The number of valid data: also the linear index of the next datum, as long as the store is not full.
  virtual int NextWriteIndex() const = 0;
  /// Empties the series.
  virtual void ResetWriteIndex() = 0;
  /// The index of the oldest datum whose tag equals `tag`; -1 when there is none. Tags of another kind are
  /// never equal; times are compared only when `compareTime` is set. Reads the tags one by one, with `GetTag`
  /// into a copy of `tag`; exceptions other than dtsr_cTagTypeException end the search.
  virtual int DataIndex(const dtsr_cDataTag& tag, type_cBoolean compareTime) const;
  /// Whether datum i exists.
  virtual type_cBoolean bHasData(int i);
  /// Copies the tag of datum i into the caller's tag.
  virtual void GetTag(int i, dtsr_cDataTag& tag) const = 0;
  /// A new tag of the kind that the series holds, owned by the caller; null when none is known yet.
  virtual dtsr_cDataTag* pSampleTag() const = 0;
  /// The kind of the tags; 0 when none is known yet.
  virtual unsigned int TagTypeID() const = 0;

  /// The dimensions; valid as long as the series.
  const dtsr_cDimensionArray& DimensionArray() const noexcept { return dimensions_; }
  /// The same as `NextWriteIndex()`.
  int NumberValidData() const { return NextWriteIndex(); }
  /// The index vector of the next datum.
  arr_cC_Array<int> NextWriteIndexPosition() const { return dimensions_.IndexPosition(NextWriteIndex()); }
  /// The position vector of the next datum.
  arr_cC_Array<double> NextWritePosition() const { return dimensions_.Position(NextWriteIndex()); }

  /// Whether there is a datum at an index vector or a position vector.
  type_cBoolean bHasData(const arr_cC_Array<int>& indices) { return bHasData(dimensions_.Index(indices)); }
  type_cBoolean bHasData(const arr_cC_Array<double>& positions) {
    return bHasData(dimensions_.Index(positions));
  }
  /// Copies the tag of the datum at an index vector or a position vector into the caller's tag.
  void GetTag(const arr_cC_Array<int>& indices, dtsr_cDataTag& tag) const {
    GetTag(dimensions_.Index(indices), tag);
  }
  void GetTag(const arr_cC_Array<double>& positions, dtsr_cDataTag& tag) const {
    GetTag(dimensions_.Index(positions), tag);
  }

 protected:
  /// The dimensions change only by assignment.
  explicit dtsr_cDataSeriesBase(const dtsr_cDimensionArray& dimensions) : dimensions_(dimensions) {}
  /// `DataIndex` from datum `first` on.
  int DataIndexFrom(int first, const dtsr_cDataTag& tag, type_cBoolean compareTime) const;
  dtsr_cDataSeriesBase& operator=(dtsr_cDataSeriesBase&&) noexcept = default;

 private:
  dtsr_cDimensionArray dimensions_;
};
