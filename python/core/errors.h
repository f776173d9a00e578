#pragma once

#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>

namespace core {

namespace py = pybind11;

/// An operation on a file that failed with an error of the system: becomes an OSError with errno and path.
class SystemFailure : public std::runtime_error {
 public:
  SystemFailure(int number, const std::string& message, std::string path)
      : std::runtime_error(message), number_(number), path_(std::move(path)) {}
  int Number() const noexcept { return number_; }
  const std::string& Path() const noexcept { return path_; }

 private:
  int number_;
  std::string path_;
};

/// The bytes of a name or message from a file or the library as a Python text; bytes that are not UTF-8 are
/// kept as os.fsdecode keeps them.
py::str TextOf(std::string_view bytes);

/// Defines datastorage.Error and translates the exceptions of the library: bad indices become IndexError, bad
/// sizes ValueError, a lock that is taken BlockingIOError, failures of the system OSError, all others Error.
void DefineErrors(py::module_& module);

}  // namespace core
