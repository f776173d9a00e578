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

/// The extension of a file name, with its dot, in lower case.
std::string Extension(const std::string& path);

/// The name of a file without its folders, for display.
std::string FileName(const std::string& path);

/// The files with these names: a name with *, ? or [] that is not a file itself gives the files that it
/// matches, run_2 before run_10. A name that matches none is kept, to be reported as missing.
std::vector<std::string> Expanded(const std::vector<std::string>& names);

/// Calls `f` with each file, reports failures and goes on. Returns the number of failures, for CheckAll; with
/// a single file it throws instead.
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
/// Throws Failure when any failed.
void CheckAll(int failed, std::size_t total);

/// All bytes of a file, which may be a pipe or a device, or of standard input for "-".
std::string ReadWhole(const std::string& path);

/// When a file was last changed, in seconds since 1970. Throws Failure when that is not known, as of standard
/// input, or when series files cannot hold it.
long ModificationTime(const std::string& path);

/// Where a command writes.
struct Target {
  std::string path;    ///< empty: nowhere; - is standard output
  bool force = false;  ///< may replace a series file
};

/// Adds the options -o, which it returns, and --force.
CLI::Option* AddTarget(CLI::App& command, Target& target, const std::string& help);

/// Throws Failure when a file name does not have one of these extensions, "" for none at all. `what` begins
/// the message, such as "columns of text are written".
void CheckEnding(const std::string& path, const std::string& what, const std::vector<std::string>& endings);

/// A file that is written piece by piece, or standard output for "-". It gets its name when it is finished;
/// pipes and devices are written directly.
class OutFile {
 public:
  /// Throws Failure when the target is `source`, the input, or must not be replaced.
  OutFile(const Target& target, const std::string& source);

  /// Throws Failure when it cannot write, and std::system_error for standard output.
  void Write(std::string_view bytes);
  void Finish();

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  [[noreturn]] void FailToWrite() const;

  std::string name_;
  std::optional<NewFile> whole_;  ///< none for standard output, pipes and devices
  File file_;
};

/// Writes a whole file, or standard output for "-". `source` as for OutFile.
void WriteWhole(const Target& target, std::string_view bytes, const std::string& source);

}  // namespace dseries
