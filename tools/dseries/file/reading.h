#pragma once

#include <filesystem>
#include <string>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

// Access to files that may be missing or damaged.

namespace dseries {

/// A name of a file, which is UTF-8 on Windows.
std::filesystem::path PathOf(const std::string& name);

/// Opens a file for reading. Throws Failure with the reason when it cannot; `advice` follows if it is
/// missing.
bstr_cBinary_fstream OpenToRead(const std::string& path, const char* advice = "");

/// Whether `read` returns true; false also when it throws expt_cProgramException.
template <class Read>
bool bReads(Read read) {
  try {
    return read();
  } catch (const expt_cProgramException&) {
    return false;
  }
}

/// Throws Failure for a damaged series file, with the commands that check and repair it.
[[noreturn]] void FailForDamage(const std::string& path, const std::string& what);

}  // namespace dseries
