// Files in plain standard C++, for systems without calls of their own here. There are no locks, and sharing
// and the inheritance of open files are as the standard library decides.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <Utility/system.h>

namespace {

using detail::Bytes;
using detail::NoFile;

std::filebuf& Buffer(std::intptr_t file) { return *reinterpret_cast<std::filebuf*>(file); }

std::int64_t FileSize(std::intptr_t file) {
  return static_cast<std::int64_t>(Buffer(file).pubseekoff(0, std::ios::end));
}

void CloseFile(std::intptr_t file) { delete &Buffer(file); }

std::int64_t ChangeTime(std::intptr_t) { return 0; }

bstr_ePathNames PathNames(std::intptr_t, const char* path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) ? bstr_NamesTheFile : bstr_NamesNothing;
}

std::intptr_t OpenRegularFile(const char* path, bstr_eAccess access) {
  if (detail::bLocks(access)) return detail::UnlockableFile;  // fails rather than opening without a lock
  std::error_code error;
  const auto kind = std::filesystem::status(path, error).type();
  const bool missing = kind == std::filesystem::file_type::not_found;
  if (!missing && kind != std::filesystem::file_type::regular) return NoFile;

  auto mode = std::ios::binary | std::ios::in;
  if (access != bstr_OpenReadOnly) mode |= std::ios::out;
  if (access == bstr_CreateEmpty || (access == bstr_CreateOrOpen && missing)) mode |= std::ios::trunc;
  auto buffer = std::make_unique<std::filebuf>();
  buffer->pubsetbuf(nullptr, 0);  // unbuffered: writes reach the system at once
  if (!buffer->open(path, mode)) return NoFile;
  return reinterpret_cast<std::intptr_t>(buffer.release());
}

bool Seek(std::intptr_t file, std::int64_t position) {
  return Buffer(file).pubseekpos(position) == std::filebuf::pos_type(position);
}

std::int64_t ReadAt(std::intptr_t file, void* bytes, std::int64_t n, std::int64_t position) {
  return Seek(file, position) ? Buffer(file).sgetn(static_cast<char*>(bytes), n) : -1;
}

std::int64_t WriteAt(std::intptr_t file, Bytes head, Bytes bytes, std::int64_t position) {
  if (!Seek(file, position)) return -1;
  const auto put = [file](Bytes b) {
    return Buffer(file).sputn(reinterpret_cast<const char*>(b.data()), std::ssize(b));
  };
  auto moved = put(head);
  if (moved == std::ssize(head)) moved += put(bytes);
  return Buffer(file).pubsync() == 0 ? moved : -1;
}

}  // namespace

constinit detail::FileCalls detail::file_calls = {OpenRegularFile, ReadAt,    WriteAt, FileSize, ChangeTime,
                                                  PathNames,       CloseFile, nullptr, nullptr};

std::string detail::LockHolder(const char*) { return {}; }

void detail::UseHugePages(void*, std::size_t) noexcept {}
