#include "io/files.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>

#include "file/failure.h"
#include "file/reading.h"
#include "file/text.h"
#include "io/system.h"

namespace dseries {

std::string Extension(const std::string& path) {
  std::string extension = PathOf(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return extension;
}

std::string FileName(const std::string& path) { return Printable(PathOf(path).filename().string()); }

std::vector<std::string> Expanded(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    const bool pattern = name.find_first_of("*?[") != std::string::npos && !bExists(name);
    std::vector<std::string> found = pattern ? Matching(name) : std::vector<std::string>();
    if (found.empty()) found = {name};
    std::move(found.begin(), found.end(), std::back_inserter(files));
  }
  return files;
}

std::string ReadWhole(const std::string& path) {
  const bool standard = path == "-";
  if (!standard && KindOf(path) == FileKind::Folder) Fail("{} is a folder", path);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(standard ? stdin : OpenToReadBytes(path),
                                                             std::fclose);
  if (file == nullptr && errno == ENOENT) Fail("there is no file {}", path);
  if (file == nullptr) Fail("{} cannot be read: {}", path, std::strerror(errno));
  constexpr std::size_t block = 1 << 16;
  std::error_code ignored;
  const auto size = std::filesystem::file_size(PathOf(path), ignored);  // only a hint
  std::string bytes;
  if (!ignored) bytes.reserve(size + block);
  for (std::size_t used = 0, n = block; n > 0; used += n) {
    bytes.resize(used + block);
    n = std::fread(bytes.data() + used, 1, block, file.get());
    bytes.resize(used + n);
  }
  if (std::ferror(file.get()) != 0) {
    Fail("{} cannot be read: {}", standard ? "standard input" : path, std::strerror(errno));
  }
  return bytes;
}

long ModificationTime(const std::string& path) {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(PathOf(path), error);
  if (path == "-" || error) Fail("--file-time: it is not known when {} was last changed", path);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(std::chrono::file_clock::to_sys(time));
  return ParseTime(std::to_string(seconds.time_since_epoch().count()));
}

CLI::Option* AddTarget(CLI::App& command, Target& target, const std::string& help) {
  command.add_flag("-f,--force", target.force, "Also replace a series file; other files are always replaced");
  return command.add_option("-o,--output", target.path, help)
      ->type_name("OUT")
      ->transform(CLI::Validator(
          [](std::string& path) {
            if (path == "/dev/stdout") path = "-";  // never replaced, even if it is a file
            return path.empty() ? "the name is empty" : "";
          },
          ""));
}

void CheckEnding(const std::string& path, const std::string& what, const std::vector<std::string>& endings) {
  const std::string extension = Extension(path);
  if (std::find(endings.begin(), endings.end(), extension) != endings.end()) return;
  std::string list;
  for (const std::string& ending : endings) {
    if (ending.empty()) continue;
    list += list.empty() ? "" : ending == endings.back() ? " and " : ", ";
    list += ending;
  }
  const bool none = std::find(endings.begin(), endings.end(), "") != endings.end();
  Fail("{} to {} files{}, not to {}", what, list, none ? " or those without an ending" : "", path);
}

OutFile::OutFile(const Target& target, const std::string& source)
    : name_(target.path), file_(nullptr, std::fclose) {
  if (name_ == "-") return;
  if (bSameFile(name_, source)) Fail("{} is the input itself", name_);
  if (!bStream(name_)) whole_.emplace(name_, target.force ? Replace::Anything : Replace::AllButSeries);
  file_.reset(OpenToWriteBytes(whole_ ? whole_->Path() : name_));
  if (file_ == nullptr) FailToWrite();
}

void OutFile::Write(std::string_view bytes) {
  if (name_ == "-") {
    fmt::print("{}", bytes);
  } else if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
    FailToWrite();
  }
}

void OutFile::Finish() {
  if (file_ != nullptr && std::fclose(file_.release()) != 0) FailToWrite();
  if (whole_) whole_->Finish();
}

void OutFile::FailToWrite() const { Fail("{} cannot be written: {}", name_, std::strerror(errno)); }

void WriteWhole(const Target& target, std::string_view bytes, const std::string& source) {
  OutFile out(target, source);
  out.Write(bytes);
  out.Finish();
}

void CheckAll(int failed, std::size_t total) {
  if (failed > 0) Fail("{} of {} files could not be read", failed, total);
}

}  // namespace dseries
