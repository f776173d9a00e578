#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fmt/core.h>
#include <memory>
#include <new>
#include <system_error>

#include "cli/usage.h"
#include "io/console.h"
#include "io/interrupt.h"
#include "io/system.h"
#include "program.h"
#include <DataStorage/interfaces/expt.h>

namespace {

constexpr int exit_failure = 1;
constexpr int exit_usage = 2;

/// Reports that standard output could not be written, and returns the exit status.
int OutputFailed(int error) {
  dseries::EndIfUnread(error);  // the reader is gone, which is not an error
  dseries::Complain("the output could not be written: {}", std::strerror(error));
  return exit_failure;
}

int Run(int argc, char** argv) {
  const auto program = dseries::MakeProgram();
  try {
    program->parse(argc, argv);
    if (program->get_subcommands().empty()) throw CLI::RequiredError("a command");
  } catch (const CLI::CallForHelp&) {
    fmt::print("{}", program->help());
  } catch (const CLI::CallForVersion&) {
    fmt::print("{}\n", program->version());
  } catch (const CLI::ParseError& error) {
    dseries::Complain("{}", dseries::Explanation(*program, error, argc, argv));
    return exit_usage;
  }
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : OutputFailed(errno);
}

}  // namespace

int main(int argc, char** argv) {
  dseries::PrepareProgram(argc, argv);
  dseries::HandleSignals();
  try {
    return Run(argc, argv);
  } catch (const dseries::Interruption& interruption) {
    dseries::Complain("{}", interruption.what());
    dseries::EndBy(interruption.Signal());
  } catch (const expt_cUserException& error) {
    dseries::Complain("{}", error.Message().CString());
  } catch (const std::bad_alloc&) {
    dseries::Complain("there is not enough memory");
  } catch (const std::filesystem::filesystem_error& error) {
    dseries::Complain("{}", error.what());
  } catch (const std::system_error& error) {  // from fmt::print
    return OutputFailed(error.code().value());
  } catch (const std::exception& error) {
    dseries::Complain("{}", error.what());
  }
  return exit_failure;
}
