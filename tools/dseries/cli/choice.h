#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "file/series.h"

namespace dseries {

/// The data of a series that a command line chooses, in one of several ways; empty members were not given.
struct Choice {
  std::vector<int> data;         ///< linear indices
  std::vector<int> index;        ///< of one datum, along each dimension
  std::vector<double> position;  ///< of one datum, along each dimension
  std::vector<double> at;        ///< the position in its tag: X, Y
  std::string time;              ///< in its tag

  bool bNone() const { return data.empty() && index.empty() && position.empty() && !bByTag(); }
  bool bByTag() const { return !at.empty() || !time.empty(); }
};

enum class Many { No, Yes };

/// Adds the options that choose one datum, which is then required, or any number of data by linear index.
/// Parsing throws CLI::ParseError when more than one way is used. AddTagChoice adds only the choice by tag.
void AddChoice(CLI::App& command, Choice& choice, Many many);
void AddTagChoice(CLI::App& command, Choice& choice);

/// The linear indices of the chosen data; of all data when none were chosen. Throws Failure for slots without
/// data and for tags that no datum has.
std::vector<int> Chosen(const Series& series, const Choice& choice);

}  // namespace dseries
