#pragma once

#include <functional>
#include <string>

#include "file/header.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

/// How many data were saved, and how many there should be.
struct Salvaged {
  int data;
  int expected;
};

/// Called for each loss, with a sentence, and for progress, with the number of data that are done.
struct SalvageReport {
  std::function<void(const std::string& sentence)> lost;
  std::function<void(int done, int data)> progress;
};

/// Copies what is intact in a damaged series file, which has this header and is only read, to a new series at
/// `path`. Data keep their indices: an empty datum replaces a lost one that has others after it. Throws
/// Failure when nothing can be saved, or there is no room for it.
Salvaged Salvage(bstr_cBinary_fstream& damaged, const Header& header, const std::string& path,
                 const SalvageReport& report);

}  // namespace dseries
