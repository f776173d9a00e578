#include "file/reading.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "file/failure.h"
#include "file/text.h"

namespace dseries {

std::filesystem::path PathOf(const std::string& name) {
  return std::u8string(name.begin(), name.end());  // on POSIX systems taken as it is
}

bstr_cBinary_fstream OpenToRead(const std::string& path, const char* advice) {
  bstr_cBinary_fstream file(str_cString(path.c_str()), bstr_OpenReadOnly);
  if (!file.Input().bGood()) {
    std::error_code ignored;
    const auto status = std::filesystem::status(PathOf(path), ignored);
    if (!std::filesystem::exists(status)) Fail("there is no file {}{}", path, advice);
    if (std::filesystem::is_directory(status)) Fail("{} is a folder; name the files in it", path);
    if (!std::filesystem::is_regular_file(status)) {
      Fail("{} is not a regular file; series cannot be read from pipes or devices", path);
    }
    errno = 0;
    const bool readable = std::ifstream(PathOf(path)).is_open();
    Fail("{} cannot be read{}{}", path, readable ? "" : ": ", readable ? "" : std::strerror(errno));
  }
  return file;
}

void FailForDamage(const std::string& path, const std::string& what) {
  const std::string word = ShellWord(path);
  Fail("{}; 'dseries verify {}' lists what is damaged, 'dseries repair {} -o NEW' saves what is whole", what,
       word, word);
}

}  // namespace dseries
