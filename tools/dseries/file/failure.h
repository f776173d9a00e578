#pragma once

#include <fmt/format.h>
#include <stdexcept>
#include <utility>

namespace dseries {

/// An error message for the user: one line, without a full stop.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

template <class... Arguments>
[[noreturn]] void Fail(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  throw Failure(fmt::format(format, std::forward<Arguments>(arguments)...));
}

}  // namespace dseries
