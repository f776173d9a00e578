#pragma once

#include <fmt/format.h>
#include <string>
#include <string_view>
#include <utility>

// Messages of a command to its user. Results go to standard output by fmt::print, and main fails when they
// cannot be written. The messages here never throw: a full disk or a closed terminal behind standard error
// must not end a command that stores data.

namespace dseries {

/// Writes to standard error.
void WriteError(std::string_view text);

/// Writes "dseries: ..." as a line to standard error. Here and below, control characters, which names of
/// files may have, become question marks.
void WriteComplaint(std::string text);
/// Writes a line about a file that was made or changed to standard output. The files are the result of such a
/// command, so the exit status stays that of the work when the line cannot be written.
void WriteNote(std::string text);

template <class... Arguments>
void Complain(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  WriteComplaint(fmt::format(format, std::forward<Arguments>(arguments)...));
}

template <class... Arguments>
void Note(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  WriteNote(fmt::format(format, std::forward<Arguments>(arguments)...));
}

}  // namespace dseries
