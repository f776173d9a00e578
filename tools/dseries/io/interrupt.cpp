#include "io/interrupt.h"

#include <atomic>
#include <utility>

#include "io/system.h"

namespace dseries {

namespace {

std::atomic<bool> deferred = false;
std::atomic<int> caught = 0;  ///< the deferred signal, or 0
Unfinished* unfinished_files = nullptr;

/// Whether the program ends by the signal now; it is then ready to.
bool bEnds(int signal) {
  if (deferred) {
    caught = signal;
    return false;
  }
  Unfinished::RemoveAll();
  return true;
}

}  // namespace

void HandleSignals() { OnEnding(bEnds); }

Deferral::Deferral() {
  caught = 0;
  deferred = true;
}

Deferral::~Deferral() { deferred = false; }

void CheckInterruption() {
  if (caught != 0) throw Interruption(caught, "interrupted");
}

Unfinished::Unfinished(std::string path) : path_(std::move(path)), next_(unfinished_files) {
  const EndingHeld held;
  unfinished_files = this;
}

Unfinished::~Unfinished() {
  const EndingHeld held;
  if (!finished_) RemoveFile(path_.c_str());
  Unfinished** link = &unfinished_files;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

void Unfinished::Finished() {
  const EndingHeld held;
  finished_ = true;
}

void Unfinished::RemoveAll() noexcept {
  for (const Unfinished* file = unfinished_files; file != nullptr; file = file->next_) {
    if (!file->finished_) RemoveFile(file->path_.c_str());
  }
}

}  // namespace dseries
