#pragma once

#include <atomic>

#include "disk.h"

/// The identifier of this process.
unsigned ProcessId();

/// Whether the tests run under Wine, which lacks some behaviour of Windows.
bool bUnderWine();

/// Make a folder; remove a file or an empty folder, whatever the length of its path.
void MakeFolder(const std::string& path);
void Remove(const std::string& path);

/// Memory that the test and its children see, at first zeros; always the same.
void* SharedMemory(std::size_t bytes);

/// A process that does `work` with the file of the test. Where processes cannot be forked the test runs again
/// in it, so it must begin with `if (Child::bWorks(work)) return;`.
class Child {
 public:
  using Work = void (*)(const TempFile& file);

#if defined(_WIN32)
  static constexpr int kills = 30;  ///< a child takes long to start
#else
  static constexpr int kills = 300;
#endif

  /// In a child that runs the test again: does the work and returns true.
  static bool bWorks(Work work);

  Child(Work work, const TempFile& file);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  /// Kills it.
  ~Child();

  unsigned Id() const { return id_; }
  bool bEnded();
  /// Waits until it has set the flag, or ended.
  void Await(const std::atomic<bool>& flag);
  /// Kills it; false if it had ended before.
  bool bKilled();
  /// Waits until it has ended; returns 0 if no expectation failed there.
  unsigned Status();

 private:
  unsigned id_ = 0;
  void* process_ = nullptr;  // its handle on Windows
  bool ended_ = false;
  int status_ = -1;
};
