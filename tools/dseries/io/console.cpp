#include "io/console.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "io/system.h"

namespace dseries {

namespace {

/// Unlike Printable, keeps names that are no UTF-8, so that they can be found.
std::string LineOf(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text + '\n';
}

}  // namespace

void WriteError(std::string_view text) { static_cast<void>(bWritten(standard_error, text)); }

void WriteComplaint(std::string text) { WriteError(LineOf("dseries: " + std::move(text))); }

void WriteNote(std::string text) {
  const std::string line = LineOf(std::move(text));
  if (bWritten(standard_output, line)) return;
  const int error = errno;
  Complain("warning: this could not be written to standard output ({}):", std::strerror(error));
  WriteError(line);
}

}  // namespace dseries
