#pragma once

/// @file
/// Where things stand in a series file: for the library, its command-line tool, tests and benchmarks. What
/// they mean is in docs/series-file.md.

#include <cstdint>
#include <limits>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/constants.h>

namespace detail {

/// Positions in a series file have 32 bits.
inline constexpr std::int64_t LastSeriesPosition = std::numeric_limits<std::int32_t>::max();

/// The bytes of a tag: its kind alone, one with a time, one with a 2D position too.
inline constexpr std::int64_t TagKindLength = 4;
inline constexpr std::int64_t PlainTagLength = 8;
inline constexpr std::int64_t PositionTagLength = 24;

/// The two lists of offsets, one entry for each slot: first those of the data, then those of the tags. The
/// data begin behind them.
struct SeriesLists {
  static constexpr std::int64_t SlotBytes = 8;

  std::int64_t begin;
  std::int64_t slots;

  constexpr std::int64_t DataEntry(std::int64_t slot) const { return begin + 4 * slot; }
  constexpr std::int64_t TagEntry(std::int64_t slot) const { return DataEntry(slots + slot); }
  constexpr std::int64_t End() const { return begin + SlotBytes * slots; }
  /// Whether they are lists that a file of so many bytes can hold.
  constexpr bool bFit(std::int64_t fileSize) const;
};

/// The fixed words at the start of a series file: those of a new one, or as they stand there, which is a
/// claim.
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

  /// From the start of a file: what it is, then what is in it. False when that is not there.
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
