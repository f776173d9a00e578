#pragma once

#include <optional>
#include <string>

#include "io/interrupt.h"
#include "io/system.h"
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

namespace dseries {

/// What a new file may replace.
enum class Replace { Nothing, AllButSeries, Anything };

/// A new file. It is written under a hidden name in the same folder and renamed when it is complete; until
/// then a file that it replaces stays, and an unfinished one is removed. It gets the permissions of the file
/// that it replaces, on Windows those of its folder. Links are followed.
class NewFile {
 public:
  /// Throws Failure when a file must not be replaced, or nothing can be written there.
  NewFile(const std::string& name, Replace replace);

  /// Where to write it; an empty file is there already.
  const std::string& Path() const { return file_->Path(); }
  /// Gives the file its name. Requires that it is complete and closed.
  void Finish();

 private:
  std::string name_;    ///< as given
  std::string target_;  ///< with links followed
  bool replaces_;
  std::optional<bstr_cBinary_fstream> lock_;  ///< of a series that is replaced
  std::optional<Unfinished> file_;
};

/// Makes a series file: calls `write` with the path to write to. Throws Failure when the name has another
/// extension, when the file exists and `force` is false, and when `write` throws expt_cUserException.
template <class Write>
void MakeSeries(const std::string& name, bool force, Write write);

/// The message with `path` replaced by `name`.
std::string Renamed(std::string message, const std::string& path, const std::string& name);
/// Throws Failure when the name is not one of a series file.
void CheckSeriesName(const std::string& name);

template <class Write>
void MakeSeries(const std::string& name, bool force, Write write) {
  CheckSeriesName(name);
  NewFile file(name, force ? Replace::Anything : Replace::Nothing);
  try {
    write(file.Path());
  } catch (const expt_cUserException& error) {
    throw Failure(Renamed(error.Message().CString(), file.Path(), name));
  }
  file.Finish();
}

}  // namespace dseries
