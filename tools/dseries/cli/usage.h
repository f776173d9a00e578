#pragma once

#include <CLI/CLI.hpp>
#include <string>

// What is wrong with a command line, in one line each.

namespace dseries {

/// A whole number from `least` on that an int holds.
CLI::Validator WholeNumber(int least);
/// A time that a series file can hold, as ParseTime reads it.
CLI::Validator StorableTime();

/// "there is no command 'creat'; did you mean 'create'?"
std::string NoSuchCommand(const CLI::App& program, const std::string& name);
/// Why the arguments were not understood. A misspelt command or option is named, with what comes next to it,
/// rather than what is missing because of it.
std::string Explanation(const CLI::App& program, const CLI::ParseError& error, int argc, char** argv);

}  // namespace dseries
