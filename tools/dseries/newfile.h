#pragma once

#include <filesystem>
#include <string>
#include <utility>

namespace dseries {

/// Whether there is anything of this name, a link that leads nowhere included.
inline bool bExists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

/// Removes the file that is being made unless it was finished.
class Unfinished {
 public:
  explicit Unfinished(std::string path) : path_(std::move(path)) {}
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove(path_, ignored);
  }
  void Finished() { path_.clear(); }

 private:
  std::string path_;
};

}  // namespace dseries
