#include "io/interrupt.h"

#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace dseries {

namespace {

constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t deferred = 0;
volatile std::sig_atomic_t caught = 0;  ///< the deferred signal, or 0
Unfinished* unfinished_files = nullptr;

sigset_t EndingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : ending_signals) sigaddset(&set, signal);
  return set;
}

/// Blocks the signals while it lives.
class Blocked {
 public:
  Blocked() {
    const sigset_t set = EndingSignals();
    sigprocmask(SIG_BLOCK, &set, &before_);
  }
  Blocked(const Blocked&) = delete;
  Blocked& operator=(const Blocked&) = delete;
  ~Blocked() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  const sigset_t& Before() const { return before_; }

 private:
  sigset_t before_;
};

extern "C" void OnSignal(int signal) {
  if (deferred != 0) {
    caught = signal;
    return;
  }
  Unfinished::RemoveAll();
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // is delivered when this handler returns
}

}  // namespace

void HandleSignals() {
  struct sigaction action {};
  action.sa_handler = OnSignal;
  action.sa_mask = EndingSignals();
  action.sa_flags = SA_RESTART;
  for (const int signal : ending_signals) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void EndBy(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(128 + signal);  // if it is blocked
}

Deferral::Deferral() {
  caught = 0;
  deferred = 1;
}

Deferral::~Deferral() { deferred = 0; }

void CheckInterruption() {
  if (caught != 0) throw Interruption(caught, "interrupted");
}

void AwaitInput(int descriptor) {
  const Blocked blocked;  // until ppoll waits, so that no signal is missed before it
  CheckInterruption();
  pollfd input{descriptor, POLLIN, 0};
  ppoll(&input, 1, nullptr, &blocked.Before());
  CheckInterruption();
}

Unfinished::Unfinished(std::string path) : path_(std::move(path)), next_(unfinished_files) {
  const Blocked blocked;
  unfinished_files = this;
}

Unfinished::~Unfinished() {
  const Blocked blocked;
  if (!finished_) unlink(path_.c_str());
  Unfinished** link = &unfinished_files;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

void Unfinished::Finished() {
  const Blocked blocked;
  finished_ = true;
}

void Unfinished::RemoveAll() noexcept {
  for (const Unfinished* file = unfinished_files; file != nullptr; file = file->next_) {
    if (!file->finished_) unlink(file->path_.c_str());
  }
}

}  // namespace dseries
