#include "io/newfile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "file/header.h"
#include "io/files.h"

namespace dseries {

namespace fs = std::filesystem;

namespace {

/// The path that a name leads to through links, whether it exists or not.
fs::path Followed(const std::string& name) {
  constexpr int most_links = 40;
  fs::path path = name;
  std::error_code error;
  for (int i = 0; fs::is_symlink(fs::symlink_status(path, error)); ++i) {
    if (i == most_links) Fail("{} is a link that leads to itself", name);
    const fs::path to = fs::read_symlink(path, error);
    path = to.is_absolute() ? to : path.parent_path() / to;
  }
  return path;
}

/// Makes an empty file with a new name beside `target`, with the default permissions.
std::string EmptyFileBeside(const fs::path& target, const std::string& name) {
  constexpr std::size_t most_of_name = 200;  // of the 255 bytes that a name may have
  const std::string visible = target.filename().string().substr(0, most_of_name);
  std::random_device random;
  for (;;) {
    const fs::path path = target.parent_path() / fmt::format(".{}.{:08x}.part", visible, random());
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file >= 0) {
      close(file);
      return path.string();
    }
    if (errno != EEXIST) Fail("{} cannot be made: {}", name, std::strerror(errno));
  }
}

/// Renames a file to a name that must be free, atomically if the file system can.
bool bRenamedToFree(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (bExists(to)) {  // not atomic on this file system
    errno = EEXIST;
    return false;
  }
  return std::rename(from, to) == 0;
}

std::string HolderText(const std::string& path) {
  const str_cString holder = bstr_LockHolder(str_cString(path.c_str()));
  return holder == "" ? "another program" : holder.CString();
}

}  // namespace

bool bExists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

bool bStream(const std::string& path) {
  std::error_code ignored;
  const auto status = fs::status(path, ignored);
  return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

NewFile::NewFile(const std::string& name, Replace replace) : name_(name) {
  if (name.empty()) Fail("the name of the file to make is empty");
  const fs::path target = Followed(name);
  target_ = target.string();
  struct stat present {};
  replaces_ = stat(target_.c_str(), &present) == 0;
  if (replaces_) {
    if (S_ISDIR(present.st_mode)) Fail("{} is a folder", name);
    if (replace == Replace::Nothing) Fail("{} exists already; --force replaces it", name);
    if (replace == Replace::AllButSeries && bSeriesFile(target_)) {
      Fail("{} is a series file; --force replaces it", name);
    }
    if (!S_ISREG(present.st_mode)) Fail("{} is not a regular file", name);
    if (bSeriesFile(target_)) {  // a program that appends would continue in the unlinked file
      lock_.emplace(str_cString(target_.c_str()), bstr_OpenLocked);
      if (lock_->Lock() == bstr_LockTaken) {
        Fail("{} is being written by {}", name, HolderText(target_));
      }
    }
    if (access(target_.c_str(), W_OK) != 0) Fail("{} cannot be written: {}", name, std::strerror(errno));
  }
  file_.emplace(EmptyFileBeside(target, name));
  if (replaces_) chmod(Path().c_str(), present.st_mode & 07777);
}

void NewFile::Finish() {
  const char* const from = Path().c_str();
  const bool renamed =
      replaces_ ? std::rename(from, target_.c_str()) == 0 : bRenamedToFree(from, target_.c_str());
  if (!renamed) Fail("{} cannot be made: {}", name_, std::strerror(errno));
  file_->Finished();
}

std::string Renamed(std::string message, const std::string& path, const std::string& name) {
  if (const auto at = message.find(path); at != std::string::npos) message.replace(at, path.size(), name);
  return message;
}

void CheckSeriesName(const std::string& name) {
  if (name == "-") Fail("a series is written to a file, not to standard output");
  CheckEnding(name, "series are written", {"", ".dseries"});
}

}  // namespace dseries
