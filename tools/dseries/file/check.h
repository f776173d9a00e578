#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace dseries {

/// What a check of a series file found.
struct Findings {
  std::vector<std::string>
      faults;  ///< what is broken, each in a sentence; the first ones when there are many
  std::int64_t fault_count = 0;
  std::vector<std::string> notes;  ///< what is unusual, but harmless
  int slots = 0;
  int valid = 0;  ///< data that the header counts, as far as there are slots for them
  int whole = 0;  ///< data of these that are in their places and can be read, with their tags
};

/// Compares everything in a series file with everything else, and believes nothing. Throws Failure when it is
/// no series file at all. `progress` is told how many of the valid data are done.
Findings Check(const std::string& path, const std::function<void(int done, int valid)>& progress);

}  // namespace dseries
