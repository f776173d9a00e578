#pragma once

#include <gmock/gmock.h>

#include "support.h"
#include "test.h"
#include <DataStorage/arrays/parray2d.h>

// Helpers of the tests of arrays.

using fuzz::RawForm;
using EveryElementType = detail::ElementTypes::Apply<testing::Types>;

/// The elements 1, 2, 3 ...; complex ones have an imaginary part.
template <class T>
std::vector<T> Counting(int count) {
  std::vector<T> elements;
  for (int i = 1; i <= count; ++i) {
    if constexpr (detail::DataTypeOf<T> >= dtyp_Complex64) {
      using Part = decltype(T().Real());
      elements.push_back(T(static_cast<Part>(i), Part(0.5)));
    } else {
      elements.push_back(static_cast<T>(i));
    }
  }
  return elements;
}

inline dtyp_cDataType Type(dtyp_eDataType type) { return type; }

template <class T>
parr_c1DNumberArray Line(const std::vector<T>& elements) {
  return {static_cast<int>(elements.size()), detail::DataTypeOf<T>, elements.data()};
}
template <class T>
parr_c2DNumberArray Plane(int nx, const std::vector<T>& elements) {
  return {nx, static_cast<int>(elements.size()) / nx, detail::DataTypeOf<T>, elements.data()};
}

/// The elements in storage order, as doubles.
template <class Array>
std::vector<double> Values(const Array& array) {
  std::vector<double> values;
  for (int i = 0; i < array.NumIndices(); ++i) {
    if constexpr (std::is_base_of_v<parr_c2DNumberArray, Array>) {
      values.push_back(array.Value(i, 0).Value());
    } else {
      values.push_back(array.Value(i).Value());
    }
  }
  return values;
}

/// The bytes of all elements.
template <class Array>
std::string Bytes(const Array& array) {
  return {static_cast<const char*>(array.Data()), static_cast<std::size_t>(array.SizeOf())};
}

template <class Object>
bool ReadRaw(Object& object, const std::string& bytes) {
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  return object.Read(in);
}
