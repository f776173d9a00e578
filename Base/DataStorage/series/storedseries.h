#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <utility>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/dimension.h>
#include <DataStorage/series/fileseries.h>
#include <DataStorage/series/memoryseries.h>
#include <DataStorage/series/seriesbase.h>

/// A series in a store, `dtsr_cMemorySeriesBase` or `dtsr_cFileSeriesBase`. Concrete series that keep their
/// data in a form of their own derive from it:
///
///     class Log : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
///      public:
///       explicit Log(const str_cString& path) : dtsr_cStoredSeries(path, LogTypeID, bstr_OpenLocked) {}
///       void Append(const std::string& line, const dtsr_cDataTag& tag) {
///         AppendDatum(tag, [&](auto& out) { return out.Write(line.data(), std::ssize(line)); });
///       }
///     };
///
/// The store is the first base class, because it must open the file before the dimensions are read from it.
template <class Store>
class DATASTORAGE_TEMPLATE dtsr_cStoredSeries : public Store, public dtsr_cDataSeriesBase {
 public:
  dtsr_cStoredSeries(const dtsr_cStoredSeries&) = default;
  /// Assigns the store and the dimensions.
  dtsr_cStoredSeries& operator=(const dtsr_cStoredSeries& other) {
    dtsr_cStoredSeries copy(other);
    Store::operator=(static_cast<Store&&>(copy));
    dtsr_cDataSeriesBase::operator=(static_cast<dtsr_cDataSeriesBase&&>(copy));
    return *this;
  }

  using dtsr_cDataSeriesBase::GetTag;

  /// Implemented by the store.
  int Size() const override { return Store::Size(); }
  int NextWriteIndex() const override { return Store::NextWriteIndex(); }
  void ResetWriteIndex() override { Store::ResetWriteIndex(); }
  dtsr_cDataTag* pSampleTag() const override { return Store::pSampleTag(); }
  unsigned int TagTypeID() const override { return Store::TagTypeID(); }

  /// Learns what has happened to a series file, as described for dtsr_cFileSeriesBase. A series with other
  /// dimensions counts as another one.
  dtsr_eRefreshed Refresh() {
    const dtsr_eRefreshed refreshed = Store::Refresh();
    return refreshed == dtsr_Reset ? Store::AfterReset(DimensionArray()) : refreshed;
  }

  /// Final, because searches compare tags where the store keeps them. A class that makes its tags otherwise
  /// joins the store and dtsr_cDataSeriesBase itself.
  void GetTag(int i, dtsr_cDataTag& tag) const final { Store::GetTag(i, tag); }
  /// What the base returns, without GetTag for tags that the store can tell apart.
  int DataIndex(const dtsr_cDataTag& tag, type_cBoolean compareTime) const override {
    return DataIndexFrom(Store::FirstLike(tag, compareTime), tag, compareTime);
  }

 protected:
  /// Creates a series in memory.
  dtsr_cStoredSeries(int capacity, const dtsr_cDimensionArray& dimensions)
      : Store(capacity), dtsr_cDataSeriesBase(dimensions) {}
  /// Creates a series file.
  dtsr_cStoredSeries(const str_cString& path, const dtsr_cDimensionArray& dimensions, unsigned int dataTypeID,
                     bstr_eAccess access)
      : Store(path, dimensions, dataTypeID, access), dtsr_cDataSeriesBase(dimensions) {}
  /// Opens a series file and reads its dimensions; throws what the store throws for both.
  dtsr_cStoredSeries(const str_cString& path, unsigned int dataTypeID, bstr_eAccess access)
      : Store(path, dataTypeID, access), dtsr_cDataSeriesBase(StoredDimensions()) {}

 private:
  dtsr_cDimensionArray StoredDimensions() {
    dtsr_cDimensionArray dimensions;
    Store::ReadDimensionArray(dimensions);
    return dimensions;
  }
};

/// A series in memory that keeps the newest data with their tags, in a ring: when it is full, a new datum
/// replaces the oldest. Data are copied. An operation that throws leaves the series unchanged.
template <class T>
class DATASTORAGE_TEMPLATE dtsr_cMemorySeries : public dtsr_cStoredSeries<dtsr_cMemorySeriesBase> {
  using Series = dtsr_cStoredSeries<dtsr_cMemorySeriesBase>;

 public:
  /// A negative capacity throws arr_cIndexException.
  explicit dtsr_cMemorySeries(int capacity, const dtsr_cDimensionArray& dimensions = dtsr_cDimensionArray())
      : Series(capacity, dimensions), data_(Slots(capacity)) {}
  dtsr_cMemorySeries(const dtsr_cMemorySeries&) = default;
  /// Copies data, tags and dimensions.
  dtsr_cMemorySeries& operator=(const dtsr_cMemorySeries& other) {
    arr_cArray<T> data(other.data_);
    Series::operator=(other);
    data_ = std::move(data);
    next_ = other.next_;
    return *this;
  }

  /// Adds a datum. A series of capacity 0 throws arr_cIndexException.
  void Append(const T& datum, const dtsr_cDataTag& tag) {
    data_[next_] = datum;
    SetNewestTag(tag);
    next_ = (next_ + 1) % data_.Size();
  }
  /// Datum i, 0 being the oldest that is still held; valid until the series changes. Throws
  /// arr_cIndexException unless 0 <= i < NextWriteIndex().
  const T& Datum(int i) const {
    const int n = NextWriteIndex();
    if (i < 0 || i >= n) arr_IndexError(i, n);
    const std::int64_t slot = std::int64_t{next_} - n + i;
    return data_[static_cast<int>(slot < 0 ? slot + data_.Size() : slot)];
  }
  /// Changes the capacity and keeps the newest data. A negative one throws arr_cIndexException.
  void SetSize(int n) override {
    const int held = NextWriteIndex();
    const int kept = std::clamp(n, 0, held);
    arr_cArray<T> data(Slots(n));
    for (int i = 0; i < kept; ++i) data[i] = Datum(held - kept + i);
    Series::SetSize(n);
    data_ = std::move(data);
    next_ = kept;
  }

 protected:
  using Series::SetNewestTag;  // only with a datum, by Append

 private:
  /// One slot more than the store has, so that a new datum is complete before the oldest one is dropped.
  static int Slots(int capacity) {
    return static_cast<int>(detail::CheckedCount(std::max<std::int64_t>(capacity, 0) + 1));
  }

  arr_cArray<T> data_;
  int next_ = 0;  // the slot of the next datum
};

/// Data of type `T` in a series file, with their tags. Requires that `T` has `Write` and `Read` for raw
/// streams, which return whether they succeeded, and a static identifier `DataTypeID()`, like data arrays.
/// For other data, or another form in the file, derive a class from
/// `dtsr_cStoredSeries<dtsr_cFileSeriesBase>` that uses `AppendDatum` and `bReadDatum`.
///
/// Failures and locks are as described for dtsr_cFileSeriesBase.
template <class T>
class DATASTORAGE_TEMPLATE dtsr_cFileSeries : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
  using Series = dtsr_cStoredSeries<dtsr_cFileSeriesBase>;
  static_assert(
      requires(T & read, const T& written, bstr_cBinary_istream& in, bstr_cBinary_ostream& out) {
        { read.Read(in) } -> std::convertible_to<bool>;
        { written.Write(out) } -> std::convertible_to<bool>;
        { T::DataTypeID() } -> std::convertible_to<unsigned int>;
      },
      "the data of a file series need Read, Write and DataTypeID");

 public:
  /// Creates a series file; an existing one is emptied.
  dtsr_cFileSeries(const str_cString& path, const dtsr_cDimensionArray& dimensions,
                   bstr_eAccess access = bstr_CreateLocked)
      : Series(path, dimensions, T::DataTypeID(), access) {}
  /// Opens a series file for appending and reading. With `bstr_OpenReadOnly` it needs no lock.
  explicit dtsr_cFileSeries(const str_cString& path, bstr_eAccess access = bstr_OpenLocked)
      : Series(path, T::DataTypeID(), access) {}
  /// Opens a series file to continue it, or creates it when there is none; holds the lock. An existing file
  /// is never emptied. Throws "Invalid dimensions for ..." when the file has others.
  static dtsr_cFileSeries OpenOrCreate(const str_cString& path, const dtsr_cDimensionArray& dimensions) {
    const bool present = bstr_cBinary_fstream(path, bstr_OpenReadOnly).Input().bGood();
    if (!present) return dtsr_cFileSeries(path, dimensions, bstr_CreateNew);
    dtsr_cFileSeries series(path);
    series.RequireDimensions(dimensions);
    return series;
  }

  /// Appends a datum, which is in the file when this returns. Throws arr_cIndexException when the series is
  /// full, "Can't write to series file ..." when a write fails; the series is then unchanged.
  void Append(const T& datum, const dtsr_cDataTag& tag) {
    AppendDatum(tag, [&](bstr_cBinary_ostream& out) { return datum.Write(out); });
  }
  /// Reads datum i. Throws arr_cIndexException unless 0 <= i < NextWriteIndex(), "Can't read datum ..." when
  /// it is damaged or truncated.
  T Datum(int i) const {
    if (i < 0 || i >= NextWriteIndex()) arr_IndexError(i, NextWriteIndex());
    T datum;
    if (!bReadDatum(i, [&](bstr_cBinary_istream& in) { return datum.Read(in); })) ThrowCannotReadDatum(i);
    return datum;
  }

 protected:
  using Series::SetNewestTag;  // only with a datum, by Append
};
