// The system calls of the library on POSIX systems.

#ifndef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64
#endif

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#if __has_include(<sys/sysmacros.h>)
#include <sys/sysmacros.h>
#endif
#include <sys/uio.h>
#include <unistd.h>

#include <Utility/system.h>

namespace {

using detail::Bytes;
using detail::NoFile;

static_assert(sizeof(off_t) == sizeof(std::int64_t));

/// Repeats a call that a signal interrupted.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// By default a write beyond the file size limit ends the process, and with it a whole acquisition. With the
/// signal ignored the write fails instead. A handler that the program installed is kept.
void IgnoreFileSizeSignal() {
  static const bool done = [] {
    struct sigaction action;
    if (::sigaction(SIGXFSZ, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
      std::signal(SIGXFSZ, SIG_IGN);
    }
    return true;
  }();
  static_cast<void>(done);
}

int Descriptor(std::intptr_t file) { return static_cast<int>(file); }

std::int64_t FileSize(std::intptr_t file) {
  struct stat status;
  return ::fstat(Descriptor(file), &status) == 0 ? status.st_size : -1;
}

void CloseFile(std::intptr_t file) { ::close(Descriptor(file)); }

std::int64_t ChangeTime(std::intptr_t file) {
  struct stat status;
  if (::fstat(Descriptor(file), &status) != 0) return 0;
#if defined(__APPLE__)
  const timespec& time = status.st_ctimespec;
#else
  const timespec& time = status.st_ctim;
#endif
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

bstr_ePathNames PathNames(std::intptr_t file, const char* path) {
  struct stat opened, named;
  if (::stat(path, &named) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? bstr_NamesNothing : bstr_NamesAnother;
  }
  const bool same = ::fstat(Descriptor(file), &opened) == 0 && opened.st_dev == named.st_dev &&
                    opened.st_ino == named.st_ino;
  return same ? bstr_NamesTheFile : bstr_NamesAnother;
}

bool SyncFile(std::intptr_t file) {
#if defined(__APPLE__)
  // `fsync` there leaves the bytes in the memory of the disk.
  return Uninterrupted([&] { return ::fcntl(Descriptor(file), F_FULLFSYNC); }) == 0;
#else
  return Uninterrupted([&] { return ::fdatasync(Descriptor(file)); }) == 0;
#endif
}

bool SyncName(const char* path) {
  const std::string name(path);
  const std::size_t slash = name.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : name.substr(0, slash + 1);
  const int file = Uninterrupted([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (file < 0) return false;
  // Some file systems do not sync folders, and need not.
  const bool synced = Uninterrupted([&] { return ::fsync(file); }) == 0 || errno == EINVAL;
  ::close(file);
  return synced;
}

/// Locks with `flock`, because such locks belong to the open file. Those of `fcntl` would be lost as soon as
/// the process closes any other descriptor of the file, such as that of a reader. A file whose path names
/// another file by the time it is locked counts as taken.
std::intptr_t LockFile(int file, const char* path) {
  if (Uninterrupted([&] { return ::flock(file, LOCK_EX | LOCK_NB); }) != 0) {
    return errno == EWOULDBLOCK ? detail::TakenFile : detail::UnlockableFile;
  }
  return PathNames(file, path) == bstr_NamesTheFile ? file : detail::TakenFile;
}

std::intptr_t OpenRegularFile(const char* path, bstr_eAccess access) {
  int flags = access == bstr_OpenReadOnly ? O_RDONLY : O_RDWR;
  if (access != bstr_OpenReadOnly && access != bstr_OpenExisting && access != bstr_OpenLocked)
    flags |= O_CREAT;
  if (access == bstr_CreateEmpty) flags |= O_TRUNC;
  if (access == bstr_CreateNew) flags |= O_EXCL;
  // Not blocking, because pipes and terminals must be rejected without waiting for them.
  flags |= O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  if (access != bstr_OpenReadOnly) IgnoreFileSizeSignal();

  const int file = Uninterrupted([&] { return ::open(path, flags, 0666); });
  if (file < 0) return NoFile;
  struct stat status;
  std::intptr_t result = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) ? file : NoFile;
  if (result == file && detail::bLocks(access)) result = LockFile(file, path);
  // Another holder of the lock may still need the contents, so they are discarded only with the lock held.
  if (result == file && access == bstr_CreateLocked) {
    const bool emptied = Uninterrupted([&] { return ::ftruncate(file, 0); }) == 0;
    if (!emptied) result = NoFile;
  }
  if (result != file) CloseFile(file);
  return result;
}

std::int64_t ReadAt(std::intptr_t file, void* bytes, std::int64_t n, std::int64_t position) {
  return Uninterrupted(
      [&] { return ::pread(Descriptor(file), bytes, static_cast<std::size_t>(n), position); });
}

std::int64_t WriteAt(std::intptr_t file, Bytes head, Bytes bytes, std::int64_t position) {
  if (head.empty()) {
    return Uninterrupted([&] { return ::pwrite(Descriptor(file), bytes.data(), bytes.size(), position); });
  }
  const auto piece = [](Bytes b) { return iovec{const_cast<unsigned char*>(b.data()), b.size()}; };
  const std::array pieces{piece(head), piece(bytes)};
  return Uninterrupted([&] { return ::pwritev(Descriptor(file), pieces.data(), pieces.size(), position); });
}

/// The first line of a system file; empty when it cannot be read.
std::string FirstLine(const std::string& path) {
  std::string line;
  std::ifstream file(path);
  std::getline(file, line);
  return line;
}

/// "major:minor:inode", the numbers of the device in hexadecimal, as Linux lists locked files.
std::string NameInLocks(const struct stat& status) {
  std::array<char, 80> text;
  std::snprintf(text.data(), text.size(), "%02x:%02x:%llu", static_cast<unsigned>(major(status.st_dev)),
                static_cast<unsigned>(minor(status.st_dev)), static_cast<unsigned long long>(status.st_ino));
  return text.data();
}

/// Searches /proc/locks, whose lines are like "1: FLOCK  ADVISORY  WRITE 4711 08:01:1234 0 EOF"; lines of
/// processes that wait for a lock have "->" after the number.
std::string HolderOf(const std::string& name_in_locks) {
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    std::istringstream words(line);
    std::string number, kind, advisory, mode, file;
    long process = 0;
    words >> number >> kind >> advisory >> mode >> process >> file;
    if (kind != "FLOCK" || file != name_in_locks || process <= 0) continue;
    const std::string id = std::to_string(process);
    const std::string name = FirstLine("/proc/" + id + "/comm");
    return "process " + id + (name.empty() ? "" : " (" + name + ")");
  }
  return {};
}

}  // namespace

constinit detail::FileCalls detail::file_calls = {OpenRegularFile, ReadAt,    WriteAt,  FileSize, ChangeTime,
                                                  PathNames,       CloseFile, SyncFile, SyncName};

std::string detail::LockHolder(const char* path) {
  struct stat status;
  return ::stat(path, &status) == 0 ? HolderOf(NameInLocks(status)) : std::string();
}

void detail::UseHugePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(MADV_HUGEPAGE)
  ::madvise(block, bytes, MADV_HUGEPAGE);
#endif
}
