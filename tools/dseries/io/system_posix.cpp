#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <glob.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "file/failure.h"
#include "io/system.h"

namespace dseries {

void PrepareProgram(int&, char**&) {
  for (const int descriptor : {standard_input, standard_output, standard_error}) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    // Opens as `descriptor`: the lowest free number is taken. Access is such that use of the stream fails.
    const int access = descriptor == standard_input ? O_WRONLY : O_RDONLY;
    if (open("/dev/null", access) != descriptor) std::_Exit(EXIT_FAILURE);
  }
}

bool bWritten(int stream, std::string_view text) {
  while (!text.empty()) {
    const ssize_t n = write(stream, text.data(), text.size());
    if (n < 0 && errno != EINTR) return false;
    if (n > 0) text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

bool bTerminal(int stream) { return isatty(stream) != 0; }

std::optional<WindowSize> TerminalSize() {
  winsize size{};
  const bool known = ioctl(standard_output, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0;
  return known ? std::optional(WindowSize{size.ws_col, size.ws_row}) : std::nullopt;
}

namespace {

FileKind KindOf(const struct stat& status) {
  return S_ISREG(status.st_mode)   ? FileKind::Regular
         : S_ISDIR(status.st_mode) ? FileKind::Folder
                                   : FileKind::Stream;
}

}  // namespace

FileKind KindOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? KindOf(status) : FileKind::Missing;
}

bool bExists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

std::string Followed(const std::string& name) {
  constexpr int most_links = 40;
  std::filesystem::path path = name;
  std::error_code error;
  for (int i = 0; std::filesystem::is_symlink(std::filesystem::symlink_status(path, error)); ++i) {
    if (i == most_links) Fail("{} is a link that leads to itself", name);
    const std::filesystem::path to = std::filesystem::read_symlink(path, error);
    path = to.is_absolute() ? to : path.parent_path() / to;
  }
  return path.string();
}

bool bSameFile(const std::string& a, const std::string& b) {
  struct stat first {
  }, second{};
  return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

bool bWritable(const std::string& path) { return access(path.c_str(), W_OK) == 0; }

std::FILE* OpenToReadBytes(const std::string& path) { return std::fopen(path.c_str(), "rb"); }
std::FILE* OpenToWriteBytes(const std::string& path) { return std::fopen(path.c_str(), "wb"); }

bool bMadeEmpty(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  return file >= 0 && close(file) == 0;
}

void CopyPermissions(const std::string& from, const std::string& to) {
  struct stat status {};
  if (stat(from.c_str(), &status) == 0) chmod(to.c_str(), status.st_mode & 07777);
}

bool bRenamedOver(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

bool bRenamedToFree(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (bExists(to)) {  // not atomic on this file system
    errno = EEXIST;
    return false;
  }
  return bRenamedOver(from, to);
}

void RemoveFile(const char* path) noexcept { unlink(path); }

std::vector<std::string> Matching(const std::string& pattern) {
  glob_t found{};
  if (glob(pattern.c_str(), GLOB_NOSORT, nullptr, &found) != 0) return {};
  std::vector<std::string> names(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  std::sort(names.begin(), names.end(),
            [](const std::string& a, const std::string& b) { return strverscmp(a.c_str(), b.c_str()) < 0; });
  return names;
}

InputFile::InputFile(const std::string& path)
    : descriptor_(path == "-" ? standard_input : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}

InputFile::~InputFile() {
  if (descriptor_ > standard_input) close(descriptor_);
}

FileKind InputFile::Kind() const {
  struct stat status {};
  return fstat(descriptor_, &status) == 0 ? KindOf(status) : FileKind::Missing;
}

std::int64_t InputFile::Size() const {
  struct stat status {};
  return fstat(descriptor_, &status) == 0 ? status.st_size : -1;
}

std::int64_t InputFile::Position() const { return lseek(descriptor_, 0, SEEK_CUR); }

std::int64_t InputFile::ReadAt(char* bytes, std::int64_t n, std::int64_t position) const {
  for (;;) {
    const ssize_t part = pread(descriptor_, bytes, static_cast<std::size_t>(n), position);
    if (part >= 0 || errno != EINTR) return part;
  }
}

FileChanges::FileChanges(std::string path)
    : path_(std::move(path)), descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

FileChanges::~FileChanges() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool FileChanges::bArmed() {
  constexpr unsigned events = IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF | IN_ONESHOT;
  if (armed_ || inotify_add_watch(descriptor_, path_.c_str(), events) < 0) return false;
  return armed_ = true;
}

bool FileChanges::bChanged(std::chrono::nanoseconds most) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(most);
  const timespec time{seconds.count(), (most - seconds).count()};
  pollfd changes{descriptor_, POLLIN, 0};  // a negative descriptor is left out
  if (ppoll(&changes, 1, &time, nullptr) <= 0) return false;
  std::array<char, 4096> events;
  while (read(descriptor_, events.data(), events.size()) > 0) {
  }
  armed_ = false;
  return true;
}

void LetOthersRun() {
  const sched_param none{};
  sched_setscheduler(0, SCHED_BATCH | SCHED_RESET_ON_FORK, &none);
}

namespace {

volatile std::sig_atomic_t running_shell = 0;  ///< its process, or 0

}  // namespace

int RunInShell(const std::string& command,
               const std::vector<std::pair<const char*, std::string>>& variables) {
  for (const auto& [name, value] : variables) setenv(name, value.c_str(), 1);
  sigset_t ignored;  // by this program, see OnEnding
  sigemptyset(&ignored);
  for (const int signal : {SIGPIPE, SIGXFSZ}) sigaddset(&ignored, signal);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &ignored);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  const std::array arguments{"sh", "-c", command.c_str(), static_cast<const char*>(nullptr)};
  pid_t child = 0;
  const int error = posix_spawn(&child, "/bin/sh", nullptr, &attributes,
                                const_cast<char* const*>(arguments.data()), environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) Fail("/bin/sh cannot be run: {}", std::strerror(error));
  running_shell = child;
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  running_shell = 0;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// Signals.

namespace {

constexpr std::array ending_signals{SIGINT, SIGTERM, SIGHUP};

bool (*program_ends)(int signal) = nullptr;
sigset_t mask_before;  ///< while signals are blocked

sigset_t EndingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : ending_signals) sigaddset(&set, signal);
  return set;
}

extern "C" void OnSignal(int signal) {
  if (!program_ends(signal)) return;
  if (running_shell != 0) kill(running_shell, signal);
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // is delivered when this handler returns
}

}  // namespace

void OnEnding(bool (*ends)(int signal)) {
  program_ends = ends;
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

EndingHeld::EndingHeld() {
  const sigset_t set = EndingSignals();
  sigprocmask(SIG_BLOCK, &set, &mask_before);
}

EndingHeld::~EndingHeld() { sigprocmask(SIG_SETMASK, &mask_before, nullptr); }

std::int64_t InputFile::Read(char* bytes, std::int64_t n, void (*check)()) {
  {
    const EndingHeld held;  // until ppoll waits, so that no signal is missed before it
    check();
    pollfd input{descriptor_, POLLIN, 0};
    ppoll(&input, 1, nullptr, &mask_before);
    check();
  }
  for (;;) {
    const ssize_t part = read(descriptor_, bytes, static_cast<std::size_t>(n));
    if (part >= 0 || errno != EINTR) return part;
  }
}

void EndBy(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(128 + signal);  // if it is blocked
}

void EndIfUnread(int error) {
  if (error == EPIPE) EndBy(SIGPIPE);
}

}  // namespace dseries
