#pragma once

#include <fmt/format.h>
#include <stdexcept>
#include <utility>

#include <DataStorage/interfaces/expt.h>

namespace dseries {

/// Something that the user must be told: one line, without a full stop.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

template <class... Arguments>
[[noreturn]] void Fail(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  throw Failure(fmt::format(format, std::forward<Arguments>(arguments)...));
}

/// Whether `read` succeeds: true, and nothing thrown.
template <class Read>
bool bReads(Read read) {
  try {
    return read();
  } catch (const expt_cProgramException&) {
    return false;
  }
}

}  // namespace dseries
