#pragma once

#include <string>

#include "bench.h"

// Single elements through numbers. The way that a `Number` and an array of them do it:
//   Number(double), Number(const Number&)
//   double Value()
//   Array(int count)               elements of type float64
//   Number Array::Value(int i)
//   Array::SetValue(const Number&, int i)

inline constexpr int number_count = 1000;

template <class Array>
void GetNumbers(benchmark::State& state) {
  const Array array(number_count);
  for (auto _ : state) {
    double sum = 0;
    for (int i = 0; i < number_count; ++i) sum += Opaque(array).Value(i).Value();
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state, number_count);
}

template <class Number, class Array>
void SetNumbers(benchmark::State& state) {
  Array array(number_count);
  for (auto _ : state) {
    for (int i = 0; i < number_count; ++i) Opaque(array).SetValue(Number(0.5 * i), i);
  }
  SetItems(state, number_count);
}

template <class Number>
void CopyNumbers(benchmark::State& state) {
  const Number number(1.5);
  for (auto _ : state) {
    for (int i = 0; i < number_count; ++i) {
      Number copy(Opaque(number));
      Opaque(copy);
    }
  }
  SetItems(state, number_count);
}

template <class Number, class Array>
void RegisterNumbers(const std::string& who) {
  Register("C/get/1000", who, GetNumbers<Array>);
  Register("C/set/1000", who, SetNumbers<Number, Array>);
  Register("C/copy/1000", who, CopyNumbers<Number>);
}
