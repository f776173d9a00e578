#pragma once

#include <string>

#include "file/failure.h"

// What ^C, SIGTERM and SIGHUP do: the files that are being made go, then the program ends by the signal, so
// that a shell sees it. A command that changes a file piece by piece puts that off to the end of a piece.

namespace dseries {

/// Sets up the handling of signals. Those that the caller ignores stay ignored, as nohup has it; a write into
/// a pipe that nobody reads and one beyond the file size limit fail instead of ending the program.
void HandleSignals();

/// Ends the program as the signal does without a handler.
[[noreturn]] void EndBy(int signal);

/// A signal arrived while it was put off.
class Interruption : public Failure {
 public:
  Interruption(int signal, const std::string& message) : Failure(message), signal_(signal) {}
  int Signal() const { return signal_; }

 private:
  int signal_;
};

/// While it lives signals are put off to the next call of Check.
class Deferral {
 public:
  Deferral();
  Deferral(const Deferral&) = delete;
  Deferral& operator=(const Deferral&) = delete;
  ~Deferral();
};

/// Throws Interruption when a signal was put off.
void CheckInterruption();

/// Waits until a descriptor has bytes to read or its end. Throws Interruption when a signal was put off or
/// arrives meanwhile.
void AwaitInput(int descriptor);

/// Removes the file that is being made unless it was finished, also when a signal ends the program.
class Unfinished {
 public:
  explicit Unfinished(std::string path);
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished();

  const std::string& Path() const { return path_; }
  void Finished();

  /// Removes all of them; for handlers of signals.
  static void RemoveAll() noexcept;

 private:
  std::string path_;
  bool finished_ = false;
  Unfinished* next_;
};

}  // namespace dseries
