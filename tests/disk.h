#pragma once

#include <filesystem>
#include <system_error>

#include "test.h"
#include <DataStorage/interfaces/str.h>
#include <Utility/system.h>

/// A path for the running test alone; its file is removed before and after.
class TempFile {
 public:
  explicit TempFile(const std::string& name = "file") {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    path_ = testing::TempDir() + test->test_suite_name() + "." + test->name() + "." + name;
    for (char& c : path_) c = c == '/' && &c > path_.data() + testing::TempDir().size() ? '_' : c;
    Remove();
  }
  /// Refers to the file of another process.
  struct Borrowed {
    std::string path;
  };
  explicit TempFile(const Borrowed& borrowed) : path_(borrowed.path), owned_(false) {}
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile() {
    if (owned_) Remove();
  }

  str_cString Path() const { return str_cString(path_.c_str()); }
  void SetBytes(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
  std::string Bytes() const {
    return (std::ostringstream() << std::ifstream(path_, std::ios::binary).rdbuf()).str();
  }
  bool bExists() const { return std::ifstream(path_).good(); }

 private:
  /// A folder too, if it is empty.
  void Remove() {
    std::error_code missing;
    std::filesystem::remove(path_, missing);
  }

  std::string path_;
  bool owned_ = true;
};

/// Replaces the system calls of file streams while it lives: counts them, makes one of them (0 is the next
/// one) and `also_failing` after it fail, moves at most `longest_move` bytes per call, and calls
/// `before_write` and `before_read`.
class FaultyDisk {
 public:
  FaultyDisk()
      : calls_(std::exchange(detail::file_calls, {Open, ReadAt, WriteAt, Size, real.change_time,
                                                  real.path_names, real.close, Sync, real.sync_name})) {
    count = writes = syncs = 0;
    before_write = before_read = nullptr;
    failing_call = -1;
    also_failing = 0;
    longest_move = std::numeric_limits<std::int64_t>::max();
  }
  FaultyDisk(const FaultyDisk&) = delete;
  FaultyDisk& operator=(const FaultyDisk&) = delete;
  ~FaultyDisk() { detail::file_calls = calls_; }

  static inline int count = 0, writes = 0, syncs = 0;
  static inline std::function<void()> before_write, before_read;
  static inline int failing_call = -1;
  static inline int also_failing = 0;
  static inline std::int64_t longest_move = 0;

 private:
  static inline const detail::FileCalls real = detail::file_calls;

  static bool bFails() {
    const int call = count++;
    return failing_call >= 0 && call >= failing_call && call <= failing_call + also_failing;
  }
  static std::intptr_t Open(const char* path, bstr_eAccess access) {
    return bFails() ? detail::NoFile : real.open(path, access);
  }
  static std::int64_t ReadAt(std::intptr_t file, void* bytes, std::int64_t n, std::int64_t position) {
    if (before_read) before_read();
    return bFails() ? -1 : real.read_at(file, bytes, std::min(n, longest_move), position);
  }
  /// A failing write still writes half of its bytes, as on a full disk.
  static std::int64_t WriteAt(std::intptr_t file, detail::Bytes head, detail::Bytes bytes,
                              std::int64_t position) {
    if (before_write) before_write();
    ++writes;
    const std::int64_t n = std::ssize(head) + std::ssize(bytes);
    const auto write = [&](std::int64_t most) {
      const auto first = head.first(std::min(head.size(), static_cast<std::size_t>(most)));
      const auto rest = static_cast<std::size_t>(most) - first.size();
      return real.write_at(file, first, bytes.first(std::min(bytes.size(), rest)), position);
    };
    if (!bFails()) return write(std::min(n, longest_move));
    write(n / 2);
    return -1;
  }
  static bool Sync(std::intptr_t file) {
    ++syncs;
    return !bFails() && real.sync(file);
  }
  static std::int64_t Size(std::intptr_t file) { return bFails() ? -1 : real.size(file); }

  detail::FileCalls calls_;
};
