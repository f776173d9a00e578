#include "files.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <glob.h>
#include <iostream>
#include <iterator>

#include "failure.h"
#include "format.h"
#include "header.h"

namespace dseries {

namespace fs = std::filesystem;

std::string Extension(const std::string& path) {
  std::string extension = fs::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return extension;
}

std::string FileName(const std::string& path) {
  return Printable(str_cString(fs::path(path).filename().c_str()));
}

std::vector<std::string> Expanded(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    if (name.find_first_of("*?[") == std::string::npos || bExists(name)) {
      files.push_back(name);
      continue;
    }
    glob_t found{};
    if (glob(name.c_str(), GLOB_NOSORT, nullptr, &found) != 0) Fail("no file fits {}", name);
    const auto first = files.insert(files.end(), found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    std::sort(first, files.end(), [](const std::string& a, const std::string& b) {
      return strverscmp(a.c_str(), b.c_str()) < 0;
    });
  }
  return files;
}

std::string ReadWhole(const std::string& path) {
  std::string bytes;
  if (path == "-") {
    bytes.assign(std::istreambuf_iterator<char>(std::cin), {});
  } else {
    bstr_cBinary_fstream file = OpenToRead(path);
    bytes.resize(static_cast<std::size_t>(file.Input().Size()));
    if (!file.Input().Read(bytes.data(), static_cast<std::int64_t>(bytes.size()))) {
      Fail("{} cannot be read", path);
    }
  }
  return bytes;
}

OutFile::OutFile(const std::string& path, const std::string& source) : path_(path) {
  if (path == "-") return;
  std::error_code ignored;
  if (fs::equivalent(path, source, ignored)) Fail("{} is the input itself", path);
  file_.open(path, std::ios::binary);
  if (fs::is_regular_file(path, ignored)) unfinished_.emplace(path);
}

void OutFile::Write(std::string_view bytes) {
  if (path_ == "-") {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  } else {
    file_ << bytes;
  }
}

void OutFile::Finish() {
  if (path_ != "-" && !file_.flush()) Fail("{} cannot be written", path_);
  if (unfinished_) unfinished_->Finished();
}

void WriteWhole(const std::string& path, std::string_view bytes, const std::string& source) {
  OutFile out(path, source);
  out.Write(bytes);
  out.Finish();
}

NewFile::NewFile(const std::string& path, bool replace)
    : target_(path), path_(PathFor(path, replace)), unfinished_(path_) {}

std::string NewFile::PathFor(const std::string& path, bool replace) {
  if (fs::is_directory(path)) Fail("{} is a folder", path);
  if (!bExists(path)) return path;
  if (!replace) Fail("{} exists already; --force replaces it", path);
  if (bExists(path + ".new")) Fail("{}.new is in the way; remove it first", path);
  return path + ".new";
}

void NewFile::Finish() {
  if (path_ != target_) fs::rename(path_, target_);
  unfinished_.Finished();
}

}  // namespace dseries
