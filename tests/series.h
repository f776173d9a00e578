#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

/// Bytes typed as hexadecimal digits; blanks and line ends between them are for the reader.
inline std::string Hex(const std::string& digits) {
  std::string bytes;
  unsigned byte;
  int length;
  for (const char* c = digits.c_str(); std::sscanf(c, " %2x%n", &byte, &length) == 1; c += length) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

/// The raw form of an object.
template <class T>
std::string RawForm(const T& object) {
  bstr_cMemory_ostream out;
  object.Write(static_cast<bstr_cBinary_ostream&>(out));
  return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
}

template <class T>
void ReadRawForm(T& object, const std::string& bytes) {
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  object.Read(static_cast<bstr_cBinary_istream&>(in));
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

/// A stream that takes so many bytes and then fails.
class ShortOutput final : public bstr_cBinary_ostream {
 public:
  explicit ShortOutput(std::int64_t room) : room_(room) {}
  type_cBoolean Write(const void*, std::int64_t n) override { return (room_ -= n) >= 0; }
  type_cBoolean Seek(std::int64_t) override { return true; }
  std::int64_t Position() const override { return 0; }
  type_cBoolean SetEnd(std::int64_t) override { return true; }
  type_cBoolean bGood() const override { return room_ >= 0; }

 private:
  std::int64_t room_;
};

template <class T>
arr_cC_Array<T> Vector(std::initializer_list<T> values) {
  arr_cC_Array<T> vector(static_cast<int>(values.size()));
  std::copy(values.begin(), values.end(), vector.Data());
  return vector;
}
