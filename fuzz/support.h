#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

namespace fuzz {

/// Ends the program and prints the source line when a guarantee is broken.
inline void Require(bool kept, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (kept) return;
  std::fprintf(stderr, "%s:%d: broken promise\n", file, line);
  std::abort();
}

inline std::string Text(const std::uint8_t* bytes, std::size_t n) {
  return {reinterpret_cast<const char*>(bytes), n};
}

/// Returns the result of an operation, or false when it throws an exception of the library. Other exceptions
/// reach the fuzzer.
template <class Operation>
bool bSucceeds(Operation operation) {
  try {
    return operation();
  } catch (const expt_cProgramException&) {
    return false;
  }
}

/// The bytes of the raw form.
template <class T>
std::string RawForm(const T& object) {
  bstr_cMemory_ostream out;
  object.Write(static_cast<bstr_cBinary_ostream&>(out));
  Require(out.bGood());
  return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
}

}  // namespace fuzz
