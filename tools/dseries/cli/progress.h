#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace dseries {

/// A progress bar for work that takes longer than a moment; shown only if standard error is a terminal.
class Progress {
 public:
  Progress(std::string what, std::int64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Clears the bar.
  ~Progress();

  /// Draws the bar for `done` of the total.
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
