#pragma once

#include <CLI/CLI.hpp>
#include <memory>

namespace dseries {

/// The whole program as it is typed: every command with its options and its help.
std::unique_ptr<CLI::App> MakeProgram();

}  // namespace dseries
