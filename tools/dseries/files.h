#pragma once

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "newfile.h"

namespace dseries {

/// The ending of a file's name, with its dot, in small letters.
std::string Extension(const std::string& path);

/// The name of a file without its folders, to be shown.
std::string FileName(const std::string& path);

/// The files that are meant: where a name with *, ? or [] is not a file itself, those that it fits, run_2
/// before run_10. Throws Failure when there are none.
std::vector<std::string> Expanded(const std::vector<std::string>& names);

/// All bytes of a file, or of standard input for "-".
std::string ReadWhole(const std::string& path);

/// A file that is written piece by piece, or standard output for "-". A file that was not finished is
/// removed.
class OutFile {
 public:
  /// Throws Failure when it is `source`, from which the bytes come.
  OutFile(const std::string& path, const std::string& source);

  void Write(std::string_view bytes);
  /// Throws Failure when something could not be written. Of standard output that shows later.
  void Finish();

 private:
  std::string path_;
  std::ofstream file_;
  std::optional<Unfinished> unfinished_;  ///< none where nothing is to be removed
};

/// Writes a whole file, or standard output for "-". `source` as for OutFile.
void WriteWhole(const std::string& path, std::string_view bytes, const std::string& source);

/// A file that is being made. What it replaces stays until its successor is complete, and what was not
/// finished is removed.
class NewFile {
 public:
  /// Throws Failure when there is such a file and `replace` is false.
  NewFile(const std::string& path, bool replace);

  /// Where it is to be written.
  const std::string& Path() const { return path_; }
  /// It is complete, and closed.
  void Finish();

 private:
  static std::string PathFor(const std::string& path, bool replace);

  std::string target_;
  std::string path_;
  Unfinished unfinished_;
};

}  // namespace dseries
