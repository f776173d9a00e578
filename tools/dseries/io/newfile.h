#pragma once

#include <optional>
#include <string>

#include "io/interrupt.h"
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

namespace dseries {

/// Whether there is anything of this name, a link that leads nowhere included.
bool bExists(const std::string& path);
/// Whether the file is there and can be read only once, from its start to its end: a pipe or a device.
bool bStream(const std::string& path);

/// What may be at the place of a new file.
enum class Replace { Nothing, AllButSeries, Anything };

/// A file that is being made. It is written under a hidden name in the same folder and gets its own when it
/// is complete; until then a file that it replaces stays, and what was not finished is removed. It has the
/// permissions of the file that it replaces. Where its name is a link, the file that the link leads to is
/// meant.
class NewFile {
 public:
  /// Throws Failure when there is a file that must not be replaced, or nothing can be written there.
  NewFile(const std::string& name, Replace replace);

  /// Where it is to be written; there is an empty file already.
  const std::string& Path() const { return file_->Path(); }
  /// It is complete, and closed.
  void Finish();

 private:
  std::string name_;    ///< as it was given
  std::string target_;  ///< where links lead
  bool replaces_;
  std::optional<bstr_cBinary_fstream> lock_;  ///< of a series that is replaced
  std::optional<Unfinished> file_;
};

/// Makes a series file: `write` gets the path to write to. Throws Failure when the file has an ending that
/// promises something else, when it exists and `force` is false, and where `write` throws.
template <class Write>
void MakeSeries(const std::string& name, bool force, Write write);

/// A message in which a file stands under its own name.
std::string Renamed(std::string message, const std::string& path, const std::string& name);
/// Throws Failure when a file of this name is not to hold a series.
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
