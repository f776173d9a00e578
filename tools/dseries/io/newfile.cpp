#include "io/newfile.h"

#include <cerrno>
#include <cstring>
#include <random>

#include "file/header.h"
#include "file/reading.h"
#include "io/files.h"

namespace dseries {

namespace {

/// Makes an empty file with a new name beside `target`, with the default permissions.
std::string EmptyFileBeside(const std::string& target, const std::string& name) {
  constexpr std::size_t most_of_name = 200;  // of the 255 bytes that a name may have
  const std::string visible = PathOf(target).filename().string();
  const std::string folder = target.substr(0, target.size() - visible.size());
  std::random_device random;
  for (;;) {
    std::string path = fmt::format("{}.{}.{:08x}.part", folder, visible.substr(0, most_of_name), random());
    if (bMadeEmpty(path)) return path;
    if (errno != EEXIST) Fail("{} cannot be made: {}", name, std::strerror(errno));
  }
}

std::string HolderText(const std::string& path) {
  const str_cString holder = bstr_LockHolder(str_cString(path.c_str()));
  return holder == "" ? "another program" : holder.CString();
}

}  // namespace

NewFile::NewFile(const std::string& name, Replace replace) : name_(name) {
  if (name.empty()) Fail("the name of the file to make is empty");
  target_ = Followed(name);
  const FileKind present = KindOf(target_);
  replaces_ = present != FileKind::Missing;
  if (replaces_) {
    if (present == FileKind::Folder) Fail("{} is a folder", name);
    if (replace == Replace::Nothing) Fail("{} exists already; --force replaces it", name);
    if (replace == Replace::AllButSeries && bSeriesFile(target_)) {
      Fail("{} is a series file; --force replaces it", name);
    }
    if (present != FileKind::Regular) Fail("{} is not a regular file", name);
    if (bSeriesFile(target_)) {  // a program that appends would continue in the unlinked file
      lock_.emplace(str_cString(target_.c_str()), bstr_OpenLocked);
      if (lock_->Lock() == bstr_LockTaken) {
        Fail("{} is being written by {}", name, HolderText(target_));
      }
    }
    if (!bWritable(target_)) Fail("{} cannot be written: {}", name, std::strerror(errno));
  }
  file_.emplace(EmptyFileBeside(target_, name));
  if (replaces_) CopyPermissions(target_, Path());
}

void NewFile::Finish() {
  bool renamed = replaces_ ? bRenamedOver(Path(), target_) : bRenamedToFree(Path(), target_);
  if (!renamed && lock_) {  // where open files cannot be replaced, that also keeps out the next writer
    lock_.reset();
    renamed = bRenamedOver(Path(), target_);
  }
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
