#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace dseries {

/// A bar on the terminal for work that takes longer than a moment. Nothing is shown where standard error is
/// no terminal.
class Progress {
 public:
  Progress(std::string what, std::int64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Clears the bar.
  ~Progress();

  /// `done` out of the total are done.
  void Show(std::int64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  std::int64_t total_;
  bool terminal_;
  bool shown_ = false;
  Clock::time_point next_;
};

}  // namespace dseries
