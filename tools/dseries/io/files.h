#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "file/failure.h"
#include "io/console.h"
#include "io/newfile.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace dseries {

/// The ending of a file's name, with its dot, in small letters.
std::string Extension(const std::string& path);

/// The name of a file without its folders, to be shown.
std::string FileName(const std::string& path);

/// The files that are meant: where a name with *, ? or [] is not a file itself, those that it fits, run_2
/// before run_10. A name that fits none is kept, so that it is told as a missing file.
std::vector<std::string> Expanded(const std::vector<std::string>& names);

/// Does something with each file, also with those behind one where that fails, which is told. Returns with
/// how many it failed, for CheckAll; with a single file it throws.
template <class F>
int ForEach(const std::vector<std::string>& files, F f) {
  if (files.size() == 1) return f(files.front()), 0;
  int failed = 0;
  for (const std::string& file : files) {
    try {
      f(file);
    } catch (const Failure& failure) {
      Complain("{}", failure.what());
      ++failed;
    } catch (const expt_cUserException& error) {
      Complain("{}", error.Message().CString());
      ++failed;
    }
  }
  return failed;
}
/// Throws Failure when some failed.
void CheckAll(int failed, std::size_t total);

/// All bytes of a file, which may be a pipe or a device, or of standard input for "-".
std::string ReadWhole(const std::string& path);

/// Where a command writes to.
struct Target {
  std::string path;    ///< empty: nowhere; - is standard output
  bool force = false;  ///< also in place of a series file
};

/// The options -o and --force.
CLI::Option* AddTarget(CLI::App& command, Target& target, const std::string& help);

/// Throws Failure when the name of a file does not have one of these endings, "" for none at all. `what` says
/// what is written, as in "columns of text are written".
void CheckEnding(const std::string& path, const std::string& what, const std::vector<std::string>& endings);

/// A file that is written piece by piece, or standard output for "-". It appears under its name when it is
/// finished, but pipes and devices are written at once.
class OutFile {
 public:
  /// Throws Failure when the target is `source`, from which the bytes come, or a file that must stay.
  OutFile(const Target& target, const std::string& source);

  /// Throws Failure when that could not be written, and std::system_error for standard output.
  void Write(std::string_view bytes);
  void Finish();

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  [[noreturn]] void FailToWrite() const;

  std::string name_;
  std::optional<NewFile> whole_;  ///< none where nothing waits for the end
  File file_;
};

/// Writes a whole file, or standard output for "-". `source` as for OutFile.
void WriteWhole(const Target& target, std::string_view bytes, const std::string& source);

}  // namespace dseries
