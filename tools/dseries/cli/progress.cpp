#include "cli/progress.h"

#include <algorithm>
#include <fmt/format.h>

#include "io/console.h"
#include "io/system.h"

namespace dseries {

namespace {

constexpr auto patience = std::chrono::milliseconds(300);
constexpr auto refresh = std::chrono::milliseconds(100);
constexpr std::int64_t bar_width = 40;

}  // namespace

Progress::Progress(std::string what, std::int64_t total)
    : what_(std::move(what)),
      total_(std::max<std::int64_t>(total, 1)),
      terminal_(bTerminal(standard_error)),
      next_(Clock::now() + patience) {}

Progress::~Progress() {
  if (shown_) WriteError("\r\x1b[K");
}

void Progress::Show(std::int64_t done) {
  if (!terminal_ || Clock::now() < next_) return;
  next_ = Clock::now() + refresh;
  shown_ = true;
  const auto full = static_cast<std::size_t>(bar_width * done / total_);
  WriteError(fmt::format("\r{} [{:<{}}] {:3}%\x1b[K", what_, std::string(full, '#'), bar_width,
                         100 * done / total_));
}

}  // namespace dseries
