#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <type_traits>

#include "file/failure.h"
#include "file/reading.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/storedseries.h>

namespace dseries {

/// A new tag of the given kind, to read stored tags of so many bytes into. For unknown kinds it holds the
/// time, with which all tags begin, and the bytes after it.
std::unique_ptr<dtsr_cDataTag> MakeTag(unsigned int tag_type, std::int64_t bytes = 0);

/// What stands before the elements of a datum of class `Array`.
template <class Array>
struct DatumHead {
  static constexpr int axes = std::is_same_v<Array, darr_c2DArray> ? 2 : 1;
  static constexpr int bytes = axes * (8 + 8 + 4) + 2 + axes * 4;

  std::array<cal_cArrayCal, axes> cals;
  dtyp_cDataType type;
  std::array<std::int32_t, axes> extents{};

  /// False when it is cut off or holds impossible numbers.
  bool Read(bstr_cBinary_istream& in) {
    for (cal_cArrayCal& cal : cals) {
      double offset = 0, delta = 0;
      std::int32_t index = 0;
      if (!bstr_ReadFields(in, offset, delta, index)) return false;
      cal = cal_cArrayCal(offset, delta, index);
    }
    std::uint16_t stored = 0;
    if (!bstr_ReadFields(in, stored) || stored < dtyp_UBin8 || stored > dtyp_Complex128) return false;
    type = dtyp_cDataType(static_cast<dtyp_eDataType>(stored));
    if (!bstr_ReadNumbers(in, extents.data(), axes)) return false;
    const bool valid = std::all_of(extents.begin(), extents.end(), [](std::int32_t n) { return n >= 0; });
    return valid && Elements() <= std::numeric_limits<std::int32_t>::max();
  }
  /// The size in bytes of the datum.
  std::int64_t Size() const { return bytes + Elements() * type.SizeOf(); }

 private:
  std::int64_t Elements() const {
    return std::accumulate(extents.begin(), extents.end(), std::int64_t{1}, std::multiplies<>());
  }
};

/// The dimensions and tags of a series in a file, for data of any kind.
class Series : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
 public:
  /// Opens a series for reading.
  explicit Series(const std::string& path);

  /// Read from the first tag if the header does not hold it yet, as after a crash in between; 0 without tags.
  unsigned int TagTypeID() const override;

  /// Throws Failure when a tag that is searched cannot be read.
  int DataIndex(const dtsr_cDataTag& tag, type_cBoolean compare_time) const override;
  /// The tag of datum i. Throws Failure when it cannot be read.
  std::unique_ptr<dtsr_cDataTag> Tag(int i) const;
  /// The number of bytes that can still be appended: positions in the file are 32-bit.
  std::int64_t Room() const;
  /// The size of datum i in bytes, without its tag.
  std::int64_t DatumSize(int i) const { return std::int64_t{tagOffsets_[i]} - dataOffsets_[i]; }
  /// What stands before the elements of datum i, an array of this class; none when it is damaged.
  /// Reads no elements.
  template <class Array>
  std::optional<DatumHead<Array>> Head(int i) const {
    DatumHead<Array> head;
    std::array<char, DatumHead<Array>::bytes> bytes{};
    bstr_cBinary_istream& in = file_.Input();
    if (!in.Seek(dataOffsets_[i]) || !in.Read(bytes.data(), std::ssize(bytes))) return {};
    bstr_cMemory_istream fields(bytes.data(), std::ssize(bytes));
    if (!head.Read(fields)) return {};
    return head;
  }

 protected:
  Series(const std::string& path, const dtsr_cDimensionArray& dimensions, unsigned int data_type,
         bstr_eAccess access);
  Series(const std::string& path, unsigned int data_type, bstr_eAccess access);

 private:
  /// Throws what the tag does.
  bool bReadTag(int i, dtsr_cDataTag& tag) const;
};

/// The size in bytes of a datum with so many elements in a file, without its tag.
template <class Array>
std::int64_t StoredSize(std::int64_t elements, dtyp_cDataType type) {
  return DatumHead<Array>::bytes + elements * type.SizeOf();
}

/// The same for a tag.
std::int64_t StoredSize(const dtsr_cDataTag& tag);

/// A series in a file whose data are arrays of class `Array`, in their raw form.
template <class Array>
class DataSeries : public Series {
 public:
  /// Creates a series.
  DataSeries(const std::string& path, const dtsr_cDimensionArray& dimensions,
             unsigned int data_type = Array::DataTypeID(), bstr_eAccess access = bstr_CreateEmpty)
      : Series(path, dimensions, data_type, access) {}
  /// Opens an existing series.
  explicit DataSeries(const std::string& path, bstr_eAccess access = bstr_OpenExisting)
      : Series(path, Array::DataTypeID(), access) {}

  /// Stores a datum and its tag in the next slot.
  void Append(const Array& datum, const dtsr_cDataTag& tag) {
    AppendDatum(tag, [&](bstr_cBinary_ostream& out) { return datum.Write(out); });
  }

  /// The size in bytes of datum i with elements of another type. Reads no elements.
  std::int64_t SizeAs(dtyp_cDataType type, int i) {
    const auto head = Head<Array>(i);
    if (!head) Fail("datum {} of {} cannot be read", i, FilePath().CString());
    return StoredSize<Array>((DatumSize(i) - DatumHead<Array>::bytes) / head->type.SizeOf(), type);
  }

  /// Reads datum i.
  Array Datum(int i) {
    Array datum;
    if (bReadDatum(i, [&](bstr_cBinary_istream& in) { return datum.Read(in); })) return datum;
    FailForDamage(FilePath().CString(),
                  fmt::format("datum {} of {} cannot be read", i, FilePath().CString()));
  }
};

/// Calls `f` with std::type_identity of the class of the data. Requires a known `data_type`.
template <class F>
auto VisitDataType(unsigned int data_type, F&& f) {
  if (data_type == darr_c2DArray::DataTypeID()) return f(std::type_identity<darr_c2DArray>());
  return f(std::type_identity<darr_c1DArray>());
}

}  // namespace dseries
