#pragma once

#include "support.h"
#include "test.h"
#include <DataStorage/series/storedseries.h>

using fuzz::RawForm;

/// Bytes from hexadecimal digits, which blanks may separate.
inline std::string Hex(const std::string& digits) {
  std::string bytes;
  unsigned byte;
  int length;
  for (const char* c = digits.c_str(); std::sscanf(c, " %2x%n", &byte, &length) == 1; c += length) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

/// The bytes with some replaced.
inline std::string Patched(std::string bytes, std::size_t at, const std::string& digits) {
  return bytes.replace(at, Hex(digits).size(), Hex(digits));
}

/// The message of the series exception that a function throws; empty when it returns.
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

/// The message of the exception when the raw form is read from these bytes; empty without one.
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
