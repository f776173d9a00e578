#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#ifndef __has_feature
#define __has_feature(name) 0
#endif
/// Whether the program is built with the address sanitizer, which needs memory and descriptors itself.
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif

/// The result of a run of the program.
struct Result {
  int status;
  std::string out;
  std::string err;
};

/// Runs the program in its own folder.
class Tool : public testing::Test {
 protected:
  Tool() { std::filesystem::create_directories(folder_); }
  ~Tool() override { std::filesystem::remove_all(folder_); }

  /// Runs it in a shell: `before` precedes the program, and the arguments may redirect its streams.
  Result Run(const std::string& arguments, const std::string& before = "") {
    const std::string command = "cd " + folder_.string() + " && " + before +
                                " " DSERIES " </dev/null >out.txt 2>err.txt " + arguments;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read("out.txt"), Read("err.txt")};
  }
  /// Runs a command that must succeed, and returns its output.
  std::string Succeed(const std::string& arguments) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << arguments << "\n" << result.err;
    return result.out;
  }

  std::string Read(const std::string& name) {
    std::ifstream in(folder_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void Write(const std::string& name, const std::string& bytes) {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
  }
  /// The names of all files, each followed by a blank.
  std::string Files() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
      names.insert(entry.path().filename());
    return std::accumulate(names.begin(), names.end(), std::string(),
                           [](const std::string& all, const std::string& name) { return all + name + ' '; });
  }
  bool bExists(const std::string& name) { return std::filesystem::exists(folder_ / name); }

  const std::filesystem::path folder_ = std::filesystem::temp_directory_path() /
                                        ("dseries-" + std::to_string(getpid()) + "-" +
                                         testing::UnitTest::GetInstance()->current_test_info()->name());
};
