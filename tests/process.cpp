#include "process.h"

#include <chrono>
#include <thread>

#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <filesystem>
#include <windows.h>

namespace {

constexpr const char* path_variable = "DATASTORAGE_TEST_FILE";
constexpr const char* memory_variable = "DATASTORAGE_TEST_MEMORY";
constexpr unsigned killed = 99;

std::wstring LongPath(const std::string& path) {
  const std::u8string utf8(path.begin(), path.end());
  return L"\\\\?\\" + std::filesystem::absolute(utf8).make_preferred().wstring();
}

std::string MemoryName() {
  const char* const given = std::getenv(memory_variable);
  return given != nullptr ? given : "datastorage-" + std::to_string(ProcessId());
}

}  // namespace

unsigned ProcessId() { return ::GetCurrentProcessId(); }

bool bUnderWine() { return ::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr; }

void MakeFolder(const std::string& path) {
  EXPECT_TRUE(::CreateDirectoryW(LongPath(path).c_str(), nullptr)) << path;
}

void Remove(const std::string& path) {
  const std::wstring full = LongPath(path);
  EXPECT_TRUE(::DeleteFileW(full.c_str()) || ::RemoveDirectoryW(full.c_str())) << path;
}

void* SharedMemory(std::size_t bytes) {
  static void* const memory = [bytes] {
    const HANDLE mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                static_cast<DWORD>(bytes), MemoryName().c_str());
    return ::MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, bytes);
  }();
  return memory;
}

bool Child::bWorks(Work work) {
  const char* const path = std::getenv(path_variable);
  if (path != nullptr) work(TempFile(TempFile::Borrowed{path}));
  return path != nullptr;
}

Child::Child(Work, const TempFile& file) {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string program(MAX_PATH, '\0');
  program.resize(::GetModuleFileNameA(nullptr, program.data(), MAX_PATH));
  std::string command =
      "\"" + program + "\" --gtest_brief --gtest_filter=" + test->test_suite_name() + "." + test->name();
  ::SetEnvironmentVariableA(path_variable, file.Path().CString());
  ::SetEnvironmentVariableA(memory_variable, MemoryName().c_str());
  STARTUPINFOA start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  EXPECT_TRUE(
      ::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &made));
  ::SetEnvironmentVariableA(path_variable, nullptr);
  ::SetEnvironmentVariableA(memory_variable, nullptr);
  ::CloseHandle(made.hThread);
  process_ = made.hProcess;
  id_ = made.dwProcessId;
}

Child::~Child() {
  bKilled();
  ::CloseHandle(process_);
}

bool Child::bEnded() { return ::WaitForSingleObject(process_, 0) == WAIT_OBJECT_0; }

bool Child::bKilled() {
  ::TerminateProcess(process_, killed);
  return Status() == killed;
}

unsigned Child::Status() {
  DWORD status = 0;
  ::WaitForSingleObject(process_, INFINITE);
  ::GetExitCodeProcess(process_, &status);
  return status;
}

#else

#include <csignal>
#include <filesystem>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

unsigned ProcessId() { return static_cast<unsigned>(::getpid()); }

bool bUnderWine() { return false; }

void MakeFolder(const std::string& path) { std::filesystem::create_directory(path); }

void Remove(const std::string& path) { EXPECT_TRUE(std::filesystem::remove(path)) << path; }

void* SharedMemory(std::size_t bytes) {
  static void* const memory =
      ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return memory;
}

bool Child::bWorks(Work) { return false; }

Child::Child(Work work, const TempFile& file) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(120);  // so that it does not wait forever for a parent that failed
    try {
      work(file);
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    ::_exit(testing::Test::HasFailure());
  }
  EXPECT_GT(child, 0);
  id_ = static_cast<unsigned>(child);
}

Child::~Child() { bKilled(); }

bool Child::bEnded() {
  if (!ended_) ended_ = ::waitpid(static_cast<pid_t>(id_), &status_, WNOHANG) != 0;
  return ended_;
}

bool Child::bKilled() {
  if (!ended_) ::kill(static_cast<pid_t>(id_), SIGKILL);
  Status();
  return WIFSIGNALED(status_);
}

unsigned Child::Status() {
  if (!ended_) ::waitpid(static_cast<pid_t>(id_), &status_, 0);
  ended_ = true;
  return static_cast<unsigned>(status_);
}

#endif

void Child::Await(const std::atomic<bool>& flag) {
  while (!flag && !bEnded()) std::this_thread::sleep_for(std::chrono::microseconds(20));
}
