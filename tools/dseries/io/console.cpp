#include "io/console.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace dseries {

namespace {

bool bWritten(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t n = write(descriptor, text.data(), text.size());
    if (n < 0 && errno != EINTR) return false;
    if (n > 0) text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

}  // namespace

void ReserveStandardStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    // Opens as `descriptor`: the lowest free number is taken. Access is such that use of the stream fails.
    const int access = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", access) != descriptor) std::_Exit(EXIT_FAILURE);
  }
}

void WriteError(std::string_view text) { static_cast<void>(bWritten(STDERR_FILENO, text)); }

void WriteNote(std::string_view line) {
  if (bWritten(STDOUT_FILENO, line)) return;
  const int error = errno;
  Complain("warning: this could not be written to standard output ({}):", std::strerror(error));
  WriteError(line);
}

}  // namespace dseries
