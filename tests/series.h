#pragma once

#include "support.h"
#include "test.h"
#include <DataStorage/series/seriesbase.h>

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

/// A series that forwards to its store; `dimensions` tells the dimensions when the store is there.
template <class Store>
struct StoredSeries : Store, dtsr_cDataSeriesBase {
  template <class Dimensions, class... Arguments>
  explicit StoredSeries(Dimensions dimensions, const Arguments&... arguments)
      : Store(arguments...), dtsr_cDataSeriesBase(dimensions(static_cast<Store&>(*this))) {}
  using dtsr_cDataSeriesBase::GetTag;
  int Size() const override { return Store::Size(); }
  int NextWriteIndex() const override { return Store::NextWriteIndex(); }
  void ResetWriteIndex() override { Store::ResetWriteIndex(); }
  void GetTag(int i, dtsr_cDataTag& tag) const override { Store::GetTag(i, tag); }
  dtsr_cDataTag* pSampleTag() const override { return Store::pSampleTag(); }
  unsigned int TagTypeID() const override { return Store::TagTypeID(); }
};

/// Two kinds of tags one after the other; each search finds those of its own kind.
template <class Series>
void ExpectFoundAmongOtherKinds(Series& series, const std::function<void(const dtsr_cDataTag&)>& append) {
  append(dtsr_c2DPosition(1, 2, 5));
  append(dtsr_cDataTag(5));
  append(dtsr_c2DPosition(1, 2, 6));
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(5), true), 1);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(9), false), 1);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(6), true), -1);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(1, 2, 6), true), 2);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(1, 3, 5), true), -1);
}
