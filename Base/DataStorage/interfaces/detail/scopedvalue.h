#pragma once

#include <utility>

namespace detail {

/// Sets a variable to another value and restores the old one at the end of the scope, also on an exception.
template <class T>
class ScopedValue {
 public:
  ScopedValue(T& variable, T value) : variable_(variable), old_(std::exchange(variable, std::move(value))) {}
  ScopedValue(const ScopedValue&) = delete;
  ScopedValue& operator=(const ScopedValue&) = delete;
  ~ScopedValue() { variable_ = std::move(old_); }

 private:
  T& variable_;
  T old_;
};

}  // namespace detail
