#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the tool asks of the operating system, beyond standard C++: system_posix.cpp and system_windows.cpp.
// Names of files are UTF-8 on Windows. Functions about files that fail set errno.

namespace dseries {

/// Makes the arguments of `main` UTF-8, and data pass through the standard streams unchanged. Reopens those
/// of the streams that the caller closed, so that their use fails: otherwise a data file could open under one
/// of their numbers and receive the messages.
void PrepareProgram(int& argc, char**& argv);

constexpr int standard_input = 0, standard_output = 1, standard_error = 2;

/// Writes all of a text to a standard stream.
bool bWritten(int stream, std::string_view text);
/// Whether a standard stream is a terminal that follows ANSI escape sequences.
bool bTerminal(int stream);
struct WindowSize {
  int columns, rows;
};
/// The size of the terminal behind standard output.
std::optional<WindowSize> TerminalSize();

// Files.

enum class FileKind { Missing, Regular, Folder, Stream };

/// The kind of a file; links are followed.
FileKind KindOf(const std::string& path);
/// Whether a file, folder or link of this name exists, even a link that leads nowhere.
bool bExists(const std::string& path);
/// Whether it is a pipe or a device, which can be read only once.
inline bool bStream(const std::string& path) { return KindOf(path) == FileKind::Stream; }
/// The path that a name leads to through links, whether it exists or not. Throws Failure for a link that
/// leads to itself.
std::string Followed(const std::string& name);
/// Whether both paths name the same existing file.
bool bSameFile(const std::string& a, const std::string& b);
/// Whether the permissions of a file allow to write it.
bool bWritable(const std::string& path);

/// Opens a file to read its bytes; null when it cannot.
std::FILE* OpenToReadBytes(const std::string& path);
/// Opens a file or a device to write bytes; contents are discarded. Null when it cannot.
std::FILE* OpenToWriteBytes(const std::string& path);
/// Makes an empty file with default permissions; fails with EEXIST if there is one.
bool bMadeEmpty(const std::string& path);
void CopyPermissions(const std::string& from, const std::string& to);
/// Renames a file, which may be open, and replaces another one in one step.
bool bRenamedOver(const std::string& from, const std::string& to);
/// Renames a file to a name that must be free, in one step if the file system can; EEXIST if it is not free.
bool bRenamedToFree(const std::string& from, const std::string& to);
/// May be called in signal handlers.
void RemoveFile(const char* path) noexcept;

/// The names that a pattern with *, ? or [] matches, run_2 before run_10.
std::vector<std::string> Matching(const std::string& pattern);

/// A file, pipe or device that is read, or standard input for "-".
class InputFile {
 public:
  explicit InputFile(const std::string& path);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  bool bOpen() const { return descriptor_ >= 0; }
  FileKind Kind() const;
  /// Of a regular file. The position is that of the next byte; standard input may have been read in part.
  std::int64_t Size() const;
  std::int64_t Position() const;

  // All return how many bytes were read: 0 at the end, -1 on an error.

  /// Reads at least one byte; from a pipe, no more than it has. Calls `check`, which may throw, after a
  /// signal that was deferred, also when that arrives while it waits.
  std::int64_t Read(char* bytes, std::int64_t n, void (*check)());
  /// From a position of a regular file.
  std::int64_t ReadAt(char* bytes, std::int64_t n, std::int64_t position) const;

 private:
  int descriptor_;
};

/// Waits for changes of a file, as far as the system reports them: Linux does for its own file systems, not
/// for those on a network. Only a change after bArmed is reported, and only the first, because each report
/// delays the process that writes; so a reader arms, looks for what came before, and then waits.
class FileChanges {
 public:
  explicit FileChanges(std::string path);
  FileChanges(const FileChanges&) = delete;
  FileChanges& operator=(const FileChanges&) = delete;
  ~FileChanges();

  /// Watches the file from now on; false when it does already, and when changes are not reported.
  bool bArmed();
  /// Waits for a change and returns true, or for so long.
  bool bChanged(std::chrono::nanoseconds most);

 private:
  std::string path_;
  int descriptor_ = -1;
  bool armed_ = false;
};

/// From now on this process takes no processor from another one that runs, but waits until one is free, if
/// the system can be told so.
void LetOthersRun();

/// Runs a command line in the shell, with these variables in its environment, and waits for its end. Returns
/// its exit status, or 128 plus the signal that ended it.
int RunInShell(const std::string& command, const std::vector<std::pair<const char*, std::string>>& variables);

// The end of the program from outside: by ^C, SIGTERM, SIGHUP, or the closing of a console.

/// Calls `ends` with the signal then, possibly on a thread of its own; the program ends if it returns true.
/// Signals that the caller ignores stay ignored, as nohup requires; writes to a closed pipe or beyond the
/// file size limit fail instead of ending the program.
void OnEnding(bool (*ends)(int signal));

/// No call of `ends` begins while it lives. There is one at a time.
class EndingHeld {
 public:
  EndingHeld();
  EndingHeld(const EndingHeld&) = delete;
  EndingHeld& operator=(const EndingHeld&) = delete;
  ~EndingHeld();
};

/// Ends the program as the signal does without a handler.
[[noreturn]] void EndBy(int signal);
/// Ends the program if `error` says that nobody reads standard output any more.
void EndIfUnread(int error);

}  // namespace dseries
