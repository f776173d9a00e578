#include "file/seal.h"

#include <filesystem>
#include <system_error>

#include "file/check.h"
#include "file/reading.h"
#include "file/text.h"

namespace dseries {

std::string ChecksumsPath(const std::string& series) {
  return (bstr_FollowedPath(series.c_str()) + ".crc32c").CString();
}

void RemoveChecksums(const std::string& series) {
  std::error_code missing;
  std::filesystem::remove(PathOf(ChecksumsPath(series)), missing);
}

std::unique_ptr<Series> OpenSealed(const std::string& path) try {
  auto series = std::make_unique<Series>(path);
  return series->Checksums() == dtsr_HasChecksums ? std::move(series) : nullptr;
} catch (const Failure&) {
  return nullptr;
}

Sealed Seal(const std::string& path, bool renew, const std::function<void(int, int)>& progress) {
  if (const str_cString holder = bstr_LockHolder(path.c_str()); holder != "") {
    Fail("{} is being written by {}", path, holder.CString());
  }
  if (renew) RemoveChecksums(path);
  const Findings findings = Check(path, progress);
  if (findings.wrong > 0) {
    Fail("{} of {} not match the checksums; 'dseries verify {}' lists them, --force replaces the checksums",
         Count(findings.wrong, "datum", "data"), path + (findings.wrong == 1 ? " does" : " do"),
         ShellWord(path));
  }
  if (findings.fault_count > 0) FailForDamage(path, path + " is damaged");
  Series series(path);
  return {findings.matching, series.Seal(), findings.checksums == dtsr_OtherChecksums};
}

}  // namespace dseries
