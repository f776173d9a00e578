#pragma once

#include <cstdint>
#include <memory>
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

 protected:
  Series(const std::string& path, const dtsr_cDimensionArray& dimensions, unsigned int data_type);
  Series(const std::string& path, unsigned int data_type, bstr_eAccess access);

 private:
  /// Throws what the tag does.
  bool bReadTag(int i, dtsr_cDataTag& tag) const;
};

/// The size in bytes of a datum with so many elements in a file, without its tag.
template <class Array>
std::int64_t StoredSize(std::int64_t elements, dtyp_cDataType type) {
  bstr_cMemory_ostream head;
  Array().Write(head);
  return head.Size() + elements * type.SizeOf();
}

/// The same for a tag.
std::int64_t StoredSize(const dtsr_cDataTag& tag);

/// A series in a file whose data are arrays of class `Array`, in their raw form.
template <class Array>
class DataSeries : public Series {
 public:
  /// Creates a series.
  DataSeries(const std::string& path, const dtsr_cDimensionArray& dimensions,
             unsigned int data_type = Array::DataTypeID())
      : Series(path, dimensions, data_type) {}
  /// Opens an existing series.
  explicit DataSeries(const std::string& path, bstr_eAccess access = bstr_OpenExisting)
      : Series(path, Array::DataTypeID(), access) {}

  /// Stores a datum and its tag in the next slot.
  void Append(const Array& datum, const dtsr_cDataTag& tag) {
    AppendDatum(tag, [&](bstr_cBinary_ostream& out) { return datum.Write(out); });
  }

  /// The size in bytes of datum i with elements of another type. Reads only its element type.
  std::int64_t SizeAs(dtyp_cDataType type, int i) {
    // The type is stored between the calibration and the extents.
    constexpr int axes = std::is_same_v<Array, darr_c2DArray> ? 2 : 1;
    const std::int64_t head = StoredSize<Array>(0, type), place = head - 4 * axes - 2;
    std::uint16_t present = 0;
    bstr_cBinary_istream& in = file_.Input();
    if (!in.Seek(dataOffsets_[i] + place) || !bstr_ReadFields(in, present) || present < dtyp_UBin8 ||
        present > dtyp_Complex128) {
      Fail("datum {} of {} cannot be read", i, FilePath().CString());
    }
    const std::int64_t elements =
        (DatumSize(i) - head) / dtyp_cDataType(static_cast<dtyp_eDataType>(present)).SizeOf();
    return head + elements * type.SizeOf();
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
