#include <cstdio>
#include <exception>
#include <fmt/core.h>
#include <memory>
#include <new>
#include <string>

#include "program.h"
#include <DataStorage/interfaces/expt.h>

namespace {

constexpr int exit_failure = 1;
constexpr int exit_usage = 2;

int Complain(const char* what, int status) {
  fmt::print(stderr, "dseries: {}\n", what);
  return status;
}

int Run(int argc, char** argv) {
  const auto program = dseries::MakeProgram();
  try {
    program->parse(argc, argv);
    if (program->get_subcommands().empty()) throw CLI::RequiredError("a command");
  } catch (const CLI::Success& help) {  // or the version
    return program->exit(help);
  } catch (const CLI::ParseError& error) {
    const auto commands = program->get_subcommands();
    const std::string command = commands.empty() ? "" : commands.front()->get_name() + ' ';
    return Complain(fmt::format("{} (see dseries {}--help)", error.what(), command).c_str(), exit_usage);
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    return Complain("the output could not be written", exit_failure);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const expt_cUserException& error) {
    return Complain(error.Message().CString(), exit_failure);
  } catch (const std::bad_alloc&) {
    return Complain("there is not enough memory", exit_failure);
  } catch (const std::exception& error) {
    return Complain(error.what(), exit_failure);
  }
}
