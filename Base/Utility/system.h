#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <DataStorage/interfaces/bstr.h>

// What the library asks of the operating system: system_posix.cpp, system_windows.cpp or, where neither fits,
// system_plain.cpp. No other file calls the system, except that bstr_file.cpp makes paths absolute and
// follows links by the standard library.

namespace detail {

using Bytes = std::span<const unsigned char>;

/// The calls of the file stream. Tests replace entries to make the disk fail.
struct FileCalls {
  /// Opens a regular file and returns its handle for the calls below, or `NoFile`; `TakenFile` or
  /// `UnlockableFile` when the requested lock fails.
  std::intptr_t (*open)(const char* path, bstr_eAccess access);
  /// Both move at most 2^30 bytes a piece and return how many, which may be fewer than asked for; 0 at the
  /// end of the file; negative on an error.
  std::int64_t (*read_at)(std::intptr_t file, void* bytes, std::int64_t n, std::int64_t position);
  std::int64_t (*write_at)(std::intptr_t file, Bytes head, Bytes bytes, std::int64_t position);
  /// The current length; negative on an error.
  std::int64_t (*size)(std::intptr_t file);
  /// See bstr_cBinary_fstream::ChangeTime and PathNames.
  std::int64_t (*change_time)(std::intptr_t file);
  bstr_ePathNames (*path_names)(std::intptr_t file, const char* path);
  void (*close)(std::intptr_t file);
  /// Return when what was written to a file, or the name of a new file, is on the disk; false when that
  /// failed. Both are null where the system has no such calls.
  bool (*sync)(std::intptr_t file);
  bool (*sync_name)(const char* path);
};

inline constexpr std::intptr_t NoFile = -1;
inline constexpr std::intptr_t TakenFile = -2;       ///< another open file holds the lock
inline constexpr std::intptr_t UnlockableFile = -3;  ///< the file cannot be locked

/// Whether this access requests the lock.
constexpr bool bLocks(bstr_eAccess access) {
  return access == bstr_CreateLocked || access == bstr_OpenLocked || access == bstr_CreateNew;
}

/// The process that holds the lock of a file: its identifier and, if available, its name; empty when unknown.
std::string LockHolder(const char* path);

/// Advises the system to use huge pages for a block of memory, which is valid in any case.
void UseHugePages(void* block, std::size_t bytes) noexcept;

extern FileCalls file_calls;

}  // namespace detail
