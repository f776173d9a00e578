#pragma once

#include "support.h"
#include "test.h"
#include <DataStorage/series/storedseries.h>

using fuzz::RawForm;

/// Bytes typed as hexadecimal digits, with blanks for the reader.
inline std::string Hex(const std::string& digits) {
  std::string bytes;
  unsigned byte;
  int length;
  for (const char* c = digits.c_str(); std::sscanf(c, " %2x%n", &byte, &length) == 1; c += length) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

/// Bytes of which some are replaced.
inline std::string Patched(std::string bytes, std::size_t at, const std::string& digits) {
  return bytes.replace(at, Hex(digits).size(), Hex(digits));
}

/// What a function tells the user by an exception of the series; empty when it returns.
template <class Function>
std::string Complaint(Function function) {
  try {
    function();
    return {};
  } catch (const expt_cUserException& e) {
    EXPECT_STREQ(e.File(), "DataSeries");
    return e.Message().CString();
  }
}

/// What reading the raw form from these bytes complains of.
template <class T>
std::string ReadComplaint(T& object, const std::string& bytes) {
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  return Complaint([&] { object.Read(in); });
}

template <class T>
arr_cC_Array<T> Vector(std::initializer_list<T> values) {
  arr_cC_Array<T> vector(static_cast<int>(values.size()));
  std::copy(values.begin(), values.end(), vector.Data());
  return vector;
}
