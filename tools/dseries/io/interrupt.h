#pragma once

#include <string>

#include "file/failure.h"

// On ^C, SIGTERM and SIGHUP, and when a console closes, unfinished files are removed, then the program ends
// by the signal, so that a shell sees it. A command that changes a file piece by piece defers that to the end
// of a piece.

namespace dseries {

/// Sets the handler of signals; see OnEnding.
void HandleSignals();

/// Thrown for a deferred signal.
class Interruption : public Failure {
 public:
  Interruption(int signal, const std::string& message) : Failure(message), signal_(signal) {}
  int Signal() const { return signal_; }

 private:
  int signal_;
};

/// While it lives, signals are deferred to the next call of CheckInterruption.
class Deferral {
 public:
  Deferral();
  Deferral(const Deferral&) = delete;
  Deferral& operator=(const Deferral&) = delete;
  ~Deferral();
};

/// Throws Interruption when there is a deferred signal.
void CheckInterruption();

/// Removes a new file unless it was finished, also when a signal ends the program.
class Unfinished {
 public:
  explicit Unfinished(std::string path);
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished();

  const std::string& Path() const { return path_; }
  void Finished();

  /// Removes all unfinished files; for signal handlers.
  static void RemoveAll() noexcept;

 private:
  std::string path_;
  bool finished_ = false;
  Unfinished* next_;
};

}  // namespace dseries
