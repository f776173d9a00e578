#pragma once

#include <CLI/CLI.hpp>
#include <string>

// Checks of command lines, with messages of one line.

namespace dseries {

/// A whole number from `least` to the largest int.
CLI::Validator WholeNumber(int least);
/// A number within these limits; not-a-number is none.
CLI::Validator Number(double least, double most);
/// A time that a series file can hold, as ParseTime reads it.
CLI::Validator StorableTime();

/// "there is no command 'creat'; did you mean 'create'?"
std::string NoSuchCommand(const CLI::App& program, const std::string& name);
/// The message for a parse error. A misspelt command or option is reported, with the closest one that exists,
/// rather than what is missing because of it.
std::string Explanation(const CLI::App& program, const CLI::ParseError& error, int argc, char** argv);

}  // namespace dseries
