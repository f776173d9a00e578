#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "file/series.h"

namespace dseries {

/// The data of a series that a command line chooses; empty members were not given.
struct Choice {
  std::vector<std::string> data;   ///< linear indices, as Slice reads them
  std::vector<int> index;          ///< of one datum, along each dimension
  std::vector<double> position;    ///< of one datum, along each dimension
  std::vector<double> at;          ///< the position in its tag: X, Y
  std::string time;                ///< in its tag; or a span of times
  std::vector<std::string> where;  ///< parts of dimensions, as ParsePart reads them
  std::vector<double> near;        ///< the nearest to a place
  bool nearest = false;            ///< of `at` and `time`: the nearest, if none is there
  bool all = false;                ///< of `at` and `time`: all that are there, not the first

  bool bNone() const { return data.empty() && index.empty() && position.empty() && !bSearched(); }
  /// Whether data are searched by their tags and places.
  bool bSearched() const { return !at.empty() || !time.empty() || !where.empty() || !near.empty(); }
};

enum class Many { No, Yes };

/// Adds the options that choose one datum, which is then required, or any number of data. Parsing throws
/// CLI::ParseError when they do not go together. AddSearch adds only those that search.
void AddChoice(CLI::App& command, Choice& choice, Many many);
void AddSearch(CLI::App& command, Choice& choice, bool required = false);
/// As AddChoice for any number, with an option instead of arguments for the linear indices.
void AddChoiceByOptions(CLI::App& command, Choice& choice);

/// The linear indices of the chosen data; of all data when none were chosen. Throws Failure for slots without
/// data and when nothing is found.
std::vector<int> Chosen(const Series& series, const Choice& choice);
/// The only one of the chosen data. Throws Failure when there are several.
int ChosenOne(const Series& series, const Choice& choice);

}  // namespace dseries
