#include "file/seal.h"

#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <system_error>

#include "file/check.h"
#include "file/reading.h"
#include "file/text.h"
#include <DataStorage/series/detail/seriessafety.h>

namespace dseries {

std::string ChecksumsPath(const std::string& series) {
  return detail::SeriesChecksums::PathOf(series.c_str()).CString();
}

void RemoveChecksums(const std::string& series) {
  std::error_code missing;
  std::filesystem::remove(PathOf(ChecksumsPath(series)), missing);
}

std::unique_ptr<Series> OpenSealed(const std::string& path) try {
  auto series = std::make_unique<Series>(path);
  return series->Checksums() >= dtsr_HasChecksums ? std::move(series) : nullptr;
} catch (const Failure&) {
  return nullptr;
}

std::string UnusedChecksums(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::exists(PathOf(ChecksumsPath(path)), error) || OpenSealed(path)) return "";
  return fmt::format(
      "nothing is compared with the checksums in {}: they are damaged, of other data or cannot be read",
      ChecksumsPath(path));
}

void RequireChecksums(const std::string& path) {
  const std::filesystem::path checksums = PathOf(ChecksumsPath(path));
  std::error_code error;
  const bool present = std::filesystem::exists(checksums, error);
  if (!std::ofstream(checksums, std::ios::app))
    Fail("checksums cannot be written to {}", ChecksumsPath(path));
  if (!present) std::filesystem::remove(checksums, error);
}

Sealed Seal(const std::string& path, bool renew, const std::function<void(int, int)>& progress) {
  if (const str_cString holder = bstr_LockHolder(path.c_str()); holder != "") {
    Fail("{} is being written by {}", path, holder.CString());
  }
  if (const std::string unused = UnusedChecksums(path); !renew && !unused.empty()) {
    Fail("{}; --force replaces them", unused);
  }
  const Findings findings = Check(path, progress);
  const int differing = findings.wrong + (findings.checksums == dtsr_HeaderDiffers ? 1 : 0);
  if (findings.fault_count > differing) FailForDamage(path, path + " is damaged");
  if (renew) RemoveChecksums(path);
  if (!renew && differing > 0) {
    const std::string what = findings.wrong > 0 ? Count(findings.wrong, "datum of", "data of") + ' ' + path
                                                : "the header or the dimensions of " + path;
    Fail("{} {} not match the checksums; 'dseries verify {}' lists what differs, --force replaces them", what,
         findings.wrong == 1 ? "does" : "do", ShellWord(path));
  }
  Series series(path);
  return {renew ? 0 : findings.matching, series.Seal()};
}

}  // namespace dseries
