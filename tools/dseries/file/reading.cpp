#include "file/reading.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include "file/failure.h"
#include "file/text.h"

namespace dseries {

bstr_cBinary_fstream OpenToRead(const std::string& path, const char* advice) {
  bstr_cBinary_fstream file(str_cString(path.c_str()), bstr_OpenReadOnly);
  if (!file.Input().bGood()) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(status)) Fail("there is no file {}{}", path, advice);
    if (std::filesystem::is_directory(status)) Fail("{} is a folder; name the files in it", path);
    if (!std::filesystem::is_regular_file(status)) {
      Fail("{} is not a regular file; series cannot be read from pipes or devices", path);
    }
    if (access(path.c_str(), R_OK) != 0) Fail("{} cannot be read: {}", path, std::strerror(errno));
    Fail("{} cannot be read", path);
  }
  return file;
}

void FailForDamage(const std::string& path, const std::string& what) {
  const std::string word = ShellWord(path);
  Fail("{}; 'dseries verify {}' lists what is damaged, 'dseries repair {} -o NEW' saves what is whole", what,
       word, word);
}

}  // namespace dseries
