#pragma once

#include <string>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

// How files are opened that may be missing or damaged.

namespace dseries {

/// Opens a file for reading, or throws a Failure that says why it cannot.
bstr_cBinary_fstream OpenToRead(const std::string& path, const char* advice = "");

/// Whether `read` succeeds: true, and nothing thrown.
template <class Read>
bool bReads(Read read) {
  try {
    return read();
  } catch (const expt_cProgramException&) {
    return false;
  }
}

/// Throws a Failure about a series file that is damaged, with the commands that look further.
[[noreturn]] void FailForDamage(const std::string& path, const std::string& what);

}  // namespace dseries
