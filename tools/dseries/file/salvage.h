#pragma once

#include <functional>
#include <string>

#include "file/header.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

/// How many data were saved, of how many that there should be.
struct Salvaged {
  int data;
  int expected;
};

/// Is given what is lost, in sentences, and how many of the data are done.
struct SalvageReport {
  std::function<void(const std::string& sentence)> lost;
  std::function<void(int done, int data)> progress;
};

/// Saves what is whole in a damaged series file with this header, which is only read, in a new series at
/// `path`. Data keep their indices: an array without elements takes that of a lost datum which others follow.
/// Throws Failure when nothing can be saved, or there is no room for it.
Salvaged Salvage(bstr_cBinary_fstream& damaged, const Header& header, const std::string& path,
                 const SalvageReport& report);

}  // namespace dseries
