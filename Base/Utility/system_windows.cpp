// The system calls of the library on Windows.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <windows.h>

#include <Utility/system.h>

namespace {

using detail::Bytes;
using detail::NoFile;

// Files are opened so that others may do anything with them meanwhile, as on POSIX systems: read, write,
// rename and remove them.
constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The lock of a file is that of one byte far beyond all data, because locked bytes cannot be read or written
/// through other handles.
constexpr std::int64_t LockedByte = std::int64_t{1} << 62;

/// Two pieces of up to this length together are joined: that takes less time than a second call.
constexpr std::size_t ShortPieces = 4096;

HANDLE Handle(std::intptr_t file) { return reinterpret_cast<HANDLE>(file); }

OVERLAPPED At(std::int64_t position) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(position);
  place.OffsetHigh = static_cast<DWORD>(position >> 32);
  return place;
}

/// A UTF-8 path in UTF-16; empty when it is not valid.
std::wstring Wide(std::string_view path) {
  const int n = static_cast<int>(std::min<std::size_t>(path.size(), 0x10000));  // longer than any path
  const auto convert = [&](wchar_t* to, int room) {
    return ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(), n, to, room);
  };
  std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
  convert(wide.data(), static_cast<int>(wide.size()));
  return wide;
}

/// The path in the form that the system takes as it stands and at any length. Empty for names of devices,
/// which that form would turn into those of files, and of the named streams of a file, which copies of it may
/// lose.
std::wstring FullPath(const char* path) {
  const std::wstring wide = Wide(path);
  if (wide.starts_with(L"\\\\?\\")) return wide;
  std::wstring full(::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(::GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  const bool device = full.starts_with(L"\\\\.\\");
  constexpr std::size_t drive = 2;  // "C:"
  if (full.empty() || device || full.find(L':', drive) != std::wstring::npos) return {};
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

std::int64_t FileSize(std::intptr_t file) {
  LARGE_INTEGER size;
  return ::GetFileSizeEx(Handle(file), &size) ? size.QuadPart : -1;
}

void CloseFile(std::intptr_t file) { ::CloseHandle(Handle(file)); }

bool SyncFile(std::intptr_t file) { return ::FlushFileBuffers(Handle(file)) != 0; }

/// Names are on the disk with the file.
bool SyncName(const char*) { return true; }

/// The system updates the times of an open file late.
std::int64_t ChangeTime(std::intptr_t) { return 0; }

bstr_ePathNames NamedBy(const std::wstring& path, HANDLE file) {
  const HANDLE other =
      ::CreateFileW(path.c_str(), 0, ShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (other == INVALID_HANDLE_VALUE) {
    const DWORD error = ::GetLastError();
    const bool removed = error == ERROR_DELETE_PENDING || error == ERROR_ACCESS_DENIED;
    const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return removed || missing ? bstr_NamesNothing : bstr_NamesAnother;
  }
  BY_HANDLE_FILE_INFORMATION opened, named;
  const bool same =
      ::GetFileInformationByHandle(file, &opened) && ::GetFileInformationByHandle(other, &named) &&
      opened.dwVolumeSerialNumber == named.dwVolumeSerialNumber &&
      opened.nFileIndexHigh == named.nFileIndexHigh && opened.nFileIndexLow == named.nFileIndexLow;
  ::CloseHandle(other);
  return same ? bstr_NamesTheFile : bstr_NamesAnother;
}

bstr_ePathNames PathNames(std::intptr_t file, const char* path) {
  return NamedBy(FullPath(path), Handle(file));
}

/// A file whose path names another file by the time it is locked counts as taken.
std::intptr_t LockFile(std::intptr_t file, const std::wstring& path) {
  OVERLAPPED place = At(LockedByte);
  if (!::LockFileEx(Handle(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) {
    const DWORD error = ::GetLastError();
    return error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING ? detail::TakenFile
                                                                      : detail::UnlockableFile;
  }
  return NamedBy(path, Handle(file)) == bstr_NamesTheFile ? file : detail::TakenFile;
}

bool bEmptied(std::intptr_t file) {
  FILE_END_OF_FILE_INFO end{};
  return ::SetFileInformationByHandle(Handle(file), FileEndOfFileInfo, &end, sizeof end) != 0;
}

std::intptr_t OpenRegularFile(const char* path, bstr_eAccess access) {
  const std::wstring full = FullPath(path);
  if (full.empty()) return NoFile;
  const DWORD rights = access == bstr_OpenReadOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
  const bool existing =
      access == bstr_OpenReadOnly || access == bstr_OpenExisting || access == bstr_OpenLocked;
  const DWORD disposition = existing ? OPEN_EXISTING : access == bstr_CreateNew ? CREATE_NEW : OPEN_ALWAYS;
  // Without security attributes the handle is not inherited; without FILE_FLAG_BACKUP_SEMANTICS no folder
  // opens.
  const HANDLE handle =
      ::CreateFileW(full.c_str(), rights, ShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return NoFile;
  const auto file = reinterpret_cast<std::intptr_t>(handle);
  std::intptr_t result = ::GetFileType(handle) == FILE_TYPE_DISK ? file : NoFile;
  if (result == file && detail::bLocks(access)) result = LockFile(file, full);
  // Another holder of the lock may still need the contents, so they are discarded only with the lock held.
  const bool empties = access == bstr_CreateEmpty || access == bstr_CreateLocked;
  if (result == file && empties && !bEmptied(file)) result = NoFile;
  if (result != file) CloseFile(file);
  return result;
}

std::int64_t ReadAt(std::intptr_t file, void* bytes, std::int64_t n, std::int64_t position) {
  OVERLAPPED place = At(position);
  DWORD moved = 0;
  if (::ReadFile(Handle(file), bytes, static_cast<DWORD>(n), &moved, &place)) return moved;
  return ::GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

std::int64_t WriteAt(std::intptr_t file, Bytes head, Bytes bytes, std::int64_t position) {
  std::array<unsigned char, ShortPieces> joined;
  if (!head.empty() && head.size() + bytes.size() <= joined.size()) {
    const auto end =
        std::copy(bytes.begin(), bytes.end(), std::copy(head.begin(), head.end(), joined.begin()));
    bytes = {joined.begin(), end};
    head = {};
  }
  std::int64_t done = 0;
  for (const Bytes piece : {head, bytes}) {
    if (piece.empty()) continue;
    OVERLAPPED place = At(position + done);
    DWORD moved = 0;
    const bool written =
        ::WriteFile(Handle(file), piece.data(), static_cast<DWORD>(piece.size()), &moved, &place);
    done += moved;
    if (!written || moved < piece.size()) return written || done > 0 ? done : -1;
  }
  return done;
}

}  // namespace

constinit detail::FileCalls detail::file_calls = {OpenRegularFile, ReadAt,    WriteAt,  FileSize, ChangeTime,
                                                  PathNames,       CloseFile, SyncFile, SyncName};

std::string detail::LockHolder(const char*) { return {}; }  // the system does not report it

void detail::UseHugePages(void*, std::size_t) noexcept {}  // they need a privilege that programs rarely have
