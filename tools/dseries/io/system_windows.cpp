#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <iterator>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
// clang-format off
#include <windows.h>  // the others need it
#include <shellapi.h>
#include <shlwapi.h>
// clang-format on

#include "file/failure.h"
#include "io/system.h"

namespace dseries {

namespace {

constexpr DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::wstring Wide(std::string_view text) {
  const auto convert = [&](wchar_t* to, int room) {
    return MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), to, room);
  };
  std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
  convert(wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string Utf8(std::wstring_view wide) {
  const auto convert = [&](char* to, int room) {
    return WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), to, room, nullptr,
                               nullptr);
  };
  std::string text(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
  convert(text.data(), static_cast<int>(text.size()));
  return text;
}

bool bDevice(const std::wstring& full_path) { return full_path.starts_with(L"\\\\.\\"); }

/// The path in the form that the system takes at any length; that of a device, such as NUL, begins with \\.\.
std::wstring FullPath(const std::string& path) {
  const std::wstring wide = Wide(path);
  if (wide.starts_with(L"\\\\?\\")) return wide;
  std::wstring full(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.empty() || bDevice(full)) return full;
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

/// False, with the error of the last call in errno.
bool Failed() {
  const auto condition = std::system_category().default_error_condition(static_cast<int>(GetLastError()));
  errno = condition.category() == std::generic_category() ? condition.value() : EIO;
  return false;
}

/// Opens a file so that others may do anything with it meanwhile, as on POSIX systems.
HANDLE Open(const std::string& path, DWORD access, DWORD disposition, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
  const HANDLE file =
      CreateFileW(FullPath(path).c_str(), access, share_all, nullptr, disposition, flags, nullptr);
  if (file == INVALID_HANDLE_VALUE) Failed();
  return file;
}

int Descriptor(HANDLE file, int flags) {
  return file == INVALID_HANDLE_VALUE ? -1 : _open_osfhandle(reinterpret_cast<std::intptr_t>(file), flags);
}

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)); }

std::FILE* Stream(HANDLE file, int flags, const char* mode) {
  const int descriptor = Descriptor(file, flags);
  return descriptor < 0 ? nullptr : _fdopen(descriptor, mode);
}

bool bConsole(int stream) {
  DWORD mode;
  return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

/// What the system knows about the file behind a path; false when there is none.
bool bInformation(const std::string& path, BY_HANDLE_FILE_INFORMATION& information) {
  const HANDLE file = Open(path, 0, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);  // folders too
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool known = GetFileInformationByHandle(file, &information) != 0;
  CloseHandle(file);
  return known;
}

}  // namespace

void PrepareProgram(int& argc, char**& argv) {
  SetErrorMode(SEM_FAILCRITICALERRORS);  // no dialogues about drives that are not ready
  constexpr std::array handles{STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  for (const int stream : {standard_input, standard_output, standard_error}) {
    const HANDLE handle = GetStdHandle(handles[static_cast<std::size_t>(stream)]);
    SetLastError(NO_ERROR);
    if (GetFileType(handle) == FILE_TYPE_UNKNOWN && GetLastError() != NO_ERROR) {
      const int access = stream == standard_input ? _O_WRONLY : _O_RDONLY;  // such that its use fails
      const int replacement = _open("NUL", access);
      if (replacement < 0 || (replacement != stream && _dup2(replacement, stream) != 0))
        std::_Exit(EXIT_FAILURE);
      if (replacement != stream) _close(replacement);
    }
    _setmode(stream, _O_BINARY);
  }

  static std::vector<std::string> arguments;
  static std::vector<char*> pointers;
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) return;
  std::transform(wide, wide + count, std::back_inserter(arguments), Utf8);
  LocalFree(wide);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  argc = count;
  argv = pointers.data();
}

bool bWritten(int stream, std::string_view text) {
  if (bConsole(stream)) {  // in UTF-16, whatever the code page of the console
    const std::wstring wide = Wide(text);
    constexpr std::size_t most = 8192;
    for (std::size_t done = 0; done < wide.size();) {
      const auto n = static_cast<DWORD>(std::min(wide.size() - done, most));
      DWORD written = 0;
      if (WriteConsoleW(HandleOf(stream), wide.data() + done, n, &written, nullptr) == 0) return Failed();
      done += written;
    }
    return true;
  }
  constexpr std::size_t most = 1 << 20;
  while (!text.empty()) {
    const int n = _write(stream, text.data(), static_cast<unsigned>(std::min(text.size(), most)));
    if (n < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

bool bTerminal(int stream) {
  DWORD mode;
  return GetConsoleMode(HandleOf(stream), &mode) != 0 &&
         SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::optional<WindowSize> TerminalSize() {
  CONSOLE_SCREEN_BUFFER_INFO screen;
  if (GetConsoleScreenBufferInfo(HandleOf(standard_output), &screen) == 0) return std::nullopt;
  const SMALL_RECT& window = screen.srWindow;
  return WindowSize{window.Right - window.Left + 1, window.Bottom - window.Top + 1};
}

FileKind KindOf(const std::string& path) {
  if (bDevice(FullPath(path))) return FileKind::Stream;
  BY_HANDLE_FILE_INFORMATION file;
  if (!bInformation(path, file)) return FileKind::Missing;
  return (file.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileKind::Folder : FileKind::Regular;
}

bool bExists(const std::string& path) {
  return GetFileAttributesW(FullPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string Followed(const std::string& name) {
  const DWORD attributes = GetFileAttributesW(FullPath(name).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return name;
  const HANDLE file = Open(name, 0, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
  if (file == INVALID_HANDLE_VALUE) Fail("{} is a link that leads nowhere", name);
  std::wstring target(GetFinalPathNameByHandleW(file, nullptr, 0, 0), L'\0');
  target.resize(GetFinalPathNameByHandleW(file, target.data(), static_cast<DWORD>(target.size()), 0));
  CloseHandle(file);
  return Utf8(target);
}

bool bSameFile(const std::string& a, const std::string& b) {
  BY_HANDLE_FILE_INFORMATION first, second;
  return bInformation(a, first) && bInformation(b, second) &&
         first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
         first.nFileIndexHigh == second.nFileIndexHigh && first.nFileIndexLow == second.nFileIndexLow;
}

bool bWritable(const std::string& path) {
  if ((GetFileAttributesW(FullPath(path).c_str()) & FILE_ATTRIBUTE_READONLY) == 0) return true;
  errno = EACCES;
  return false;
}

std::FILE* OpenToReadBytes(const std::string& path) {
  return Stream(Open(path, GENERIC_READ, OPEN_EXISTING), _O_RDONLY | _O_BINARY, "rb");
}

std::FILE* OpenToWriteBytes(const std::string& path) {
  const HANDLE file = Open(path, GENERIC_WRITE, OPEN_ALWAYS);
  if (file != INVALID_HANDLE_VALUE && GetFileType(file) == FILE_TYPE_DISK) SetEndOfFile(file);
  return Stream(file, _O_WRONLY | _O_BINARY, "wb");
}

bool bMadeEmpty(const std::string& path) {
  const HANDLE file = Open(path, GENERIC_WRITE, CREATE_NEW);
  return file != INVALID_HANDLE_VALUE && CloseHandle(file) != 0;
}

void CopyPermissions(const std::string&, const std::string&) {}  // files have those of their folder

bool bRenamedOver(const std::string& from, const std::string& to) {
  return MoveFileExW(FullPath(from).c_str(), FullPath(to).c_str(), MOVEFILE_REPLACE_EXISTING) != 0 ||
         Failed();
}

bool bRenamedToFree(const std::string& from, const std::string& to) {
  return MoveFileExW(FullPath(from).c_str(), FullPath(to).c_str(), 0) != 0 || Failed();
}

void RemoveFile(const char* path) noexcept { DeleteFileW(FullPath(path).c_str()); }

namespace {

constexpr std::wstring_view wildcards = L"*?[", separators = L"/\\";

bool bSameLetter(wchar_t a, wchar_t b) { return CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL; }

/// Whether a letter is in a set such as a-z0-9, or !a-z for all others.
bool bInSet(wchar_t letter, std::wstring_view set) {
  const bool others = set.starts_with(L'!');
  bool found = false;
  for (std::size_t i = others ? 1 : 0; i < set.size(); ++i) {
    const bool range = i + 2 < set.size() && set[i + 1] == L'-';
    found = found || (range ? set[i] <= letter && letter <= set[i + 2] : bSameLetter(set[i], letter));
    if (range) i += 2;
  }
  return found != others;
}

/// Whether a name matches a pattern; case does not matter outside ranges of letters.
bool bMatches(std::wstring_view name, std::wstring_view pattern) {
  if (pattern.empty()) return name.empty();
  const std::wstring_view rest = pattern.substr(1);
  if (pattern.front() == L'*')
    return bMatches(name, rest) || (!name.empty() && bMatches(name.substr(1), pattern));
  if (name.empty()) return false;
  const std::size_t end = pattern.front() == L'[' ? rest.find(L']', 1) : rest.npos;
  if (end != rest.npos) {
    return bInSet(name.front(), rest.substr(0, end)) && bMatches(name.substr(1), rest.substr(end + 1));
  }
  return (pattern.front() == L'?' || bSameLetter(name.front(), pattern.front())) &&
         bMatches(name.substr(1), rest);
}

/// Adds the names that begin with `folder` and go on with what matches a pattern.
void AddMatching(const std::wstring& folder, std::wstring_view pattern, std::vector<std::wstring>& names) {
  const std::size_t end = std::min(pattern.find_first_of(separators), pattern.size());
  const std::wstring_view here = pattern.substr(0, end);
  const std::wstring_view below =
      pattern.substr(std::min(pattern.find_first_not_of(separators, end), pattern.size()));
  const std::wstring_view between = pattern.substr(end, pattern.size() - end - below.size());
  const auto add = [&](const std::wstring& name) {
    if (between.empty()) {
      names.push_back(name);
    } else {
      AddMatching(name + std::wstring(between), below, names);
    }
  };
  if (here.find_first_of(wildcards) == here.npos) {
    const std::wstring name = folder + std::wstring(here);
    if (!between.empty() || bExists(Utf8(name))) add(name);
    return;
  }
  WIN32_FIND_DATAW entry;
  const HANDLE search = FindFirstFileW(FullPath(Utf8(folder.empty() ? L"*" : folder + L"*")).c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    const std::wstring_view name = entry.cFileName;
    const bool hidden = name.starts_with(L'.') && !here.starts_with(L'.');
    if (!hidden && bMatches(name, here)) add(folder + std::wstring(name));
  } while (FindNextFileW(search, &entry) != 0);
  FindClose(search);
}

}  // namespace

std::vector<std::string> Matching(const std::string& pattern) {
  std::vector<std::wstring> found;
  AddMatching(L"", Wide(pattern), found);
  std::sort(found.begin(), found.end(), [](const std::wstring& a, const std::wstring& b) {
    const int order = StrCmpLogicalW(a.c_str(), b.c_str());
    return order != 0 ? order < 0 : a < b;
  });
  std::vector<std::string> names;
  std::transform(found.begin(), found.end(), std::back_inserter(names), Utf8);
  return names;
}

InputFile::InputFile(const std::string& path)
    : descriptor_(path == "-" ? standard_input
                              : Descriptor(Open(path, GENERIC_READ, OPEN_EXISTING), _O_RDONLY | _O_BINARY)) {}

InputFile::~InputFile() {
  if (descriptor_ > standard_input) _close(descriptor_);
}

FileKind InputFile::Kind() const {
  const HANDLE file = HandleOf(descriptor_);
  SetLastError(NO_ERROR);
  const DWORD type = GetFileType(file);
  if (type == FILE_TYPE_DISK) return FileKind::Regular;  // folders cannot be opened
  if (type != FILE_TYPE_UNKNOWN || GetLastError() == NO_ERROR) return FileKind::Stream;
  Failed();
  return FileKind::Missing;
}

std::int64_t InputFile::Size() const { return _filelengthi64(descriptor_); }

std::int64_t InputFile::Position() const { return _lseeki64(descriptor_, 0, SEEK_CUR); }

namespace {

/// Reads from a position, or the next bytes if `place` is null. Returns how many; 0 at the end, -1 on an
/// error.
std::int64_t ReadBytes(int descriptor, char* bytes, std::int64_t n, OVERLAPPED* place) {
  constexpr std::int64_t most = 1 << 30;
  DWORD part = 0;
  SetLastError(NO_ERROR);
  const bool read =
      ReadFile(HandleOf(descriptor), bytes, static_cast<DWORD>(std::min(n, most)), &part, place) != 0;
  const DWORD error = GetLastError();
  const bool interrupted = part == 0 && error == ERROR_OPERATION_ABORTED;  // a console succeeds then
  if ((read && !interrupted) || error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF) return part;
  Failed();
  if (interrupted) errno = EINTR;
  return -1;
}

}  // namespace

std::int64_t InputFile::ReadAt(char* bytes, std::int64_t n, std::int64_t position) const {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(position);
  place.OffsetHigh = static_cast<DWORD>(position >> 32);
  return ReadBytes(descriptor_, bytes, n, &place);
}

// The end of the program.

namespace {

bool (*program_ends)(int signal) = nullptr;
std::mutex ending;
HANDLE main_thread = nullptr;
bool reading = false;  ///< the main thread is in a call that may wait for input; guarded by `ending`

BOOL WINAPI OnControl(DWORD event) {
  const int signal = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? SIGINT : SIGTERM;
  {
    const EndingHeld held;
    if (program_ends(signal)) EndBy(signal);
  }
  // The main thread ends the program after its present step. The closing of a console would end it as soon as
  // this function returns.
  for (;; Sleep(10)) {
    const EndingHeld held;
    if (reading) CancelSynchronousIo(main_thread);
  }
}

void SetReading(bool now) {
  const EndingHeld held;
  reading = now;
}

}  // namespace

// The system reports what is written to an open file only when it is closed or its cache is emptied.
FileChanges::FileChanges(std::string path) : path_(std::move(path)) {}
FileChanges::~FileChanges() = default;
bool FileChanges::bArmed() { return false; }
bool FileChanges::bChanged(std::chrono::nanoseconds most) {
  std::this_thread::sleep_for(most);
  return false;
}

void LetOthersRun() { SetPriorityClass(GetCurrentProcess(), BELOW_NORMAL_PRIORITY_CLASS); }

int RunInShell(const std::string& command,
               const std::vector<std::pair<const char*, std::string>>& variables) {
  for (const auto& [name, value] : variables) _wputenv_s(Wide(name).c_str(), Wide(value).c_str());
  return _wsystem(Wide(command).c_str());
}

void OnEnding(bool (*ends)(int signal)) {
  program_ends = ends;
  DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &main_thread, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  SetConsoleCtrlHandler(OnControl, TRUE);
}

EndingHeld::EndingHeld() { ending.lock(); }
EndingHeld::~EndingHeld() { ending.unlock(); }

std::int64_t InputFile::Read(char* bytes, std::int64_t n, void (*check)()) {
  check();
  SetReading(true);
  const std::int64_t part = ReadBytes(descriptor_, bytes, n, nullptr);
  SetReading(false);
  if (part < 0 && errno == EINTR) Sleep(100);  // a console returns before it reports ^C
  check();
  return part;
}

void EndBy(int) { std::_Exit(static_cast<int>(STATUS_CONTROL_C_EXIT)); }

void EndIfUnread(int error) {
  // The C library knows no name for the error of a pipe that is being closed, and makes it EINVAL.
  const bool unread = error == EPIPE || error == EINVAL;
  if (unread && GetFileType(HandleOf(standard_output)) == FILE_TYPE_PIPE) std::_Exit(EXIT_FAILURE);
}

}  // namespace dseries
