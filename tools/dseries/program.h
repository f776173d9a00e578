#pragma once

#include <CLI/CLI.hpp>
#include <memory>

namespace dseries {

/// The command line of the program: every command with its options and its help.
std::unique_ptr<CLI::App> MakeProgram();

}  // namespace dseries
