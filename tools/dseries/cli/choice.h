#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "file/series.h"

namespace dseries {

/// Which data of a series are meant, in one of several ways; members that are empty were not given.
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

/// The options of a choice of one datum, which must be given, or, by linear indices, of several. Parsing
/// throws CLI::ParseError when data are chosen in more than one way.
void AddChoice(CLI::App& command, Choice& choice, Many many);
void AddTagChoice(CLI::App& command, Choice& choice);

/// The linear indices of the data that are meant, all of them when none is. Throws Failure for places without
/// data and for tags that no datum has.
std::vector<int> Chosen(const Series& series, const Choice& choice);

}  // namespace dseries
