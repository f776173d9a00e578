#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <DataStorage/series/fileseries.h>

namespace dseries {

/// What a check of a series file found.
struct Findings {
  std::vector<std::string> faults;  ///< one sentence each; only the first ones when there are many
  std::int64_t fault_count = 0;
  std::vector<std::string> notes;  ///< what is unusual but harmless
  int slots = 0;
  int valid = 0;  ///< data that the header counts, at most one for each slot
  int whole = 0;  ///< those of them that are in place and readable, with their tags
  dtsr_eChecksums checksums = dtsr_NoChecksums;
  int matching = 0;  ///< whole data that match their checksums
  int wrong = 0;     ///< those that do not; they are not whole
};

/// Checks all parts of a series file against each other. Throws Failure when it is not a series file. Calls
/// `progress` with the number of valid data that are done.
Findings Check(const std::string& path, const std::function<void(int done, int valid)>& progress);

}  // namespace dseries
