#include "io/console.h"

#include <cerrno>
#include <cstring>

#include "io/system.h"

namespace dseries {

void WriteError(std::string_view text) { static_cast<void>(bWritten(standard_error, text)); }

void WriteNote(std::string_view line) {
  if (bWritten(standard_output, line)) return;
  const int error = errno;
  Complain("warning: this could not be written to standard output ({}):", std::strerror(error));
  WriteError(line);
}

}  // namespace dseries
