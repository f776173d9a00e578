// A: conversion of elements into existing memory. AN: into a new array.

#include "conversion.h"
#include <DataStorage/arrays/parray1d.h>

namespace {

struct Ours {
  template <class Pair>
  static constexpr const char* name = "ours";
  template <class Pair>
  static void Convert(const typename Pair::Source* source, typename Pair::Target* target,
                      std::int64_t count) {
    conv_ConvertElements(Pair::source_type, Pair::target_type, count, Pair::complex, source, target);
  }
};

template <class Pair>
void ConvertArray(benchmark::State& state, std::int64_t count) {
  const parr_c1DNumberArray source(static_cast<int>(count), Pair::source_type,
                                   ConversionSource<typename Pair::Source>(count).get());
  for (auto _ : state) {
    parr_c1DNumberArray target(source);
    target.Convert(Pair::target_type, Pair::complex);
    benchmark::DoNotOptimize(target.Data());
  }
  SetBytes(state, count * Pair::bytes);
}

/// The limits: copies that read and write as many bytes.
template <class Pairs>
void RegisterLimits(const char* work) {
  Pairs::ForEach([work]<class Pair>(Pair) {
    for (const Size& size : sizes)
      Register(ConversionRow<Pair>(work, size), "limit", Copy, size.elements * Pair::bytes / 2);
  });
}

[[maybe_unused]] const bool registered = [] {
  RegisterConversions<Ours>();
  RegisterLimits<AllPairs>("A");
  PairsForNewArrays::ForEach([]<class Pair>(Pair) {
    for (const Size& size : sizes)
      Register(ConversionRow<Pair>("AN", size), "ours", ConvertArray<Pair>, size.elements);
  });
  RegisterLimits<PairsForNewArrays>("AN");
  return true;
}();

}  // namespace
