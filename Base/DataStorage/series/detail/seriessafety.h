#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/series/fileseries.h>

namespace detail {

/// The file with the checksums of a series, beside the series file. All numbers are little-endian:
///
///      0  8  "DSCRC32C"
///      8  4  version, 1
///     12  4  checksum of the fixed part of the series file: bytes 0-9, 14-17, and 22 to the lists
///     16  4  checksum of the first tag; 0 for an empty series
///     20  4  a number that differs between fillings of a series
///     24  4  checksum of bytes 0-23
///     28  4  for each datum: its checksum; 0 when not known
///
/// All checksums are CRC-32C; one of 0 is stored as FFFFFFFF. That of a datum is of its bytes, those of its
/// tag, bytes 20-23 of this file, and the length of the datum in 4 bytes. The length keeps a damaged offset
/// of the tag from going unseen, the number of the filling what a power cut left of an earlier one.
///
/// The file may be missing, shorter than the series or of an earlier filling: then checksums are not known.
class SeriesChecksums {
 public:
  static constexpr std::int64_t HeaderLength = 28;

  SeriesChecksums(const str_cString& path, bstr_eAccess access) : file_(path, access) {}
  /// Beside the file itself, where `series` is a symbolic link.
  static str_cString PathOf(const str_cString& series) { return bstr_FollowedPath(series) + ".crc32c"; }

  bool bOpen() const { return file_.Input().bGood(); }
  bool bWritable() const { return file_.bGood(); }

  /// Reads the header as it is in the file now. Returns false, and keeps what was read before, when it is
  /// damaged.
  bool bRead();
  /// The checksum of the fixed part of the series.
  std::uint32_t Series() const { return series_; }
  std::uint32_t First() const { return first_; }
  std::uint32_t Filling() const { return filling_; }
  /// The checksum of datum i; 0 when it is not known.
  std::uint32_t Sum(int i) const;
  /// Write the header, for a new filling, or a checksum; return false on failure.
  bool SetHeader(std::uint32_t series, std::uint32_t first);
  bool SetSum(int i, std::uint32_t sum);
  /// Makes those from datum `count` on unknown: a killed append may have left one, and a file that was cut a
  /// part of one.
  bool Forget(int count);
  bool Sync() { return file_.Sync(); }
  bool SyncName() { return file_.SyncName(); }

 private:
  static constexpr std::int64_t Block = 4096;

  bool bReserved(std::int64_t end);
  bool bZero(std::int64_t begin, std::int64_t end);

  mutable bstr_cBinary_fstream file_;
  std::int64_t reserved_ = 0;  // the file is at least this long
  std::uint32_t series_ = 0;
  std::uint32_t first_ = 0;
  std::uint32_t filling_ = 0;
};

/// What keeps the data of a series file over power cuts and finds changed bytes, shared by the copies of a
/// series: when to sync, whether that has failed, and the checksums.
class SeriesSafety {
 public:
  explicit SeriesSafety(const bstr_cBinary_fstream& file)
      : file_(file), checksums_path_(SeriesChecksums::PathOf(file.AbsolutePath())) {}
  SeriesSafety(const SeriesSafety&) = delete;
  SeriesSafety& operator=(const SeriesSafety&) = delete;
  /// Syncs what is not on the disk yet.
  ~SeriesSafety() {
    if (unsynced_ > 0) Sync();
  }

  void SetDurability(dtsr_eDurability durability, int data, std::chrono::milliseconds time);
  dtsr_eDurability Durability() const { return durability_; }
  /// Whether the next append must be synced.
  bool bDue() const;
  /// Another append has succeeded.
  void CountAppended() { unsynced_ += durability_ == dtsr_DurabilityGroup ? 1 : 0; }
  /// Checksums, then the series, so that all data on the disk have theirs there. Fails for good: after the
  /// first failure the system may report success for bytes that it has dropped.
  bool Sync();
  /// Syncs the name of the series and of its checksums; final likewise.
  bool SyncName();
  bool bFailed() const { return failed_; }

  const str_cString& ChecksumsPath() const { return checksums_path_; }
  /// The checksums, opened to read or write; null when there are none.
  SeriesChecksums* Checksums(bstr_eAccess access);
  /// Those that an append writes; null when none are asked for.
  SeriesChecksums* Kept() { return keeping_ ? checksums_.get() : nullptr; }
  void Keep() { keeping_ = true; }

  /// Whether any datum matches the checksums of this filling, where the first tag has this checksum.
  bool bKnown(std::uint32_t filling, std::uint32_t first) const {
    return filling == known_filling_ && first == known_first_;
  }
  void Know(std::uint32_t filling, std::uint32_t first, bool any_matches) {
    known_filling_ = filling;
    known_first_ = first;
    any_matches_ = any_matches;
  }
  bool bAnyMatches() const { return any_matches_; }

 private:
  using Clock = std::chrono::steady_clock;

  bstr_cBinary_fstream file_;  // keeps the file open until the last sync
  str_cString checksums_path_;
  dtsr_eDurability durability_ = dtsr_DurabilityNone;
  int most_ = 0;
  Clock::duration longest_{};
  int unsynced_ = 0;
  Clock::time_point synced_;
  bool failed_ = false;
  bool keeping_ = false;
  bstr_eAccess access_ = bstr_OpenReadOnly;
  std::unique_ptr<SeriesChecksums> checksums_;
  std::uint32_t known_filling_ = 0;
  std::uint32_t known_first_ = 0;  // that of no tag
  bool any_matches_ = false;
};

}  // namespace detail
