#pragma once

/// @file
/// The layout of series files, for the library, its command-line tool, tests and benchmarks.
/// docs/series-file.md explains the format.

#include <cstdint>
#include <limits>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/constants.h>

namespace detail {

/// The largest position in a series file; positions are signed 32-bit numbers.
inline constexpr std::int64_t LastSeriesPosition = std::numeric_limits<std::int32_t>::max();

/// Lengths of tags in bytes: the kind alone, a plain tag (kind and time), a tag with a 2D position.
inline constexpr std::int64_t TagKindLength = 4;
inline constexpr std::int64_t PlainTagLength = 8;
inline constexpr std::int64_t PositionTagLength = 24;

/// The two offset lists, each with one entry per slot: first that of the data, then that of the tags. The
/// data follow.
struct SeriesLists {
  using Entry = std::int32_t;
  static constexpr std::int64_t SlotBytes = 8;

  std::int64_t begin;
  std::int64_t slots;

  constexpr std::int64_t DataEntry(std::int64_t slot) const { return begin + 4 * slot; }
  constexpr std::int64_t TagEntry(std::int64_t slot) const { return DataEntry(slots + slot); }
  constexpr std::int64_t End() const { return begin + SlotBytes * slots; }
  /// Whether a file of `fileSize` bytes can hold these lists.
  constexpr bool bFit(std::int64_t fileSize) const;
  /// Entry k of entries as they are in the file.
  static Entry EntryAt(const unsigned char* entries, std::int64_t k) {
    return LoadLittleEndian<Entry>(entries + k * std::int64_t{sizeof(Entry)});
  }
};

/// The fixed fields at the start of a series file: for a new file, or as read from a file, unchecked.
struct SeriesHeader {
  static constexpr std::uint16_t KnownVersion = 0x0210;

  std::uint16_t mark = flfm_LittleEndian;
  std::uint16_t format = flfm_DataSeriesID;
  std::uint16_t version = KnownVersion;
  std::uint32_t dataType = 0;
  std::uint32_t tagType = 0;  ///< 0 until the first tag is stored
  std::int32_t total = 0;     ///< data slots
  std::int32_t valid = 0;     ///< valid data
  std::int32_t lists = 0;     ///< position of the offset lists; 0 while the file is being created

  static constexpr std::int64_t TagTypeField = 10;
  static constexpr std::int64_t TotalField = 14;
  static constexpr std::int64_t ValidField = 18;
  static constexpr std::int64_t ListsField = 22;
  static constexpr std::int64_t End = 26;  ///< the dimensions begin here

  /// Read or write the fields from the start of a file, reading in two steps: the kind of the file, then its
  /// contents. Return false on failure.
  bool ReadKind(bstr_cBinary_istream& in) {
    return bstr_ReadFields(in, mark, format, version, dataType, tagType);
  }
  bool ReadContents(bstr_cBinary_istream& in) { return bstr_ReadFields(in, total, valid, lists); }
  bool Write(bstr_cBinary_ostream& out) const {
    return bstr_WriteFields(out, mark, format, version, dataType, tagType, total, valid, lists);
  }

  bool bSeriesFile() const { return mark == flfm_LittleEndian && format == flfm_DataSeriesID; }
  SeriesLists Lists() const { return {lists, total}; }
};

constexpr bool SeriesLists::bFit(std::int64_t fileSize) const {
  return begin >= SeriesHeader::End && slots > 0 && End() <= fileSize;
}

}  // namespace detail
