#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include "bench.h"
#include <DataStorage/numbers/elements.h>

// Conversions of elements, to be registered for each implementation. A `Way` has the member templates
// name<Pair>, the name of the implementation, and Convert<Pair>(source, target, count).

template <class T>
constexpr bool is_complex = false;
template <class T>
constexpr bool is_complex<comp_cComplex<T>> = true;

/// A floating-point type in which values can be clamped to the limits of an integer type.
template <class Integer, class Float>
using WideEnough = std::conditional_t<(sizeof(Integer) < sizeof(Float)), Float, double>;

/// The source type, the target type and the complex conversion.
template <class SourceType, class TargetType, conv_eComplexConversion conversion = conv_Real>
struct Pair {
  using Source = SourceType;
  using Target = TargetType;
  static constexpr dtyp_eDataType source_type = detail::DataTypeOf<Source>;
  static constexpr dtyp_eDataType target_type = detail::DataTypeOf<Target>;
  static constexpr conv_eComplexConversion complex = conversion;
  static constexpr std::int64_t bytes = sizeof(Source) + sizeof(Target);  ///< read and written, per element

  static std::string Name() {
    constexpr const char* what[] = {"", "_imaginary", "_magnitude", "_phase"};
    return std::string(detail::ShortName(source_type)) + "_to_" + detail::ShortName(target_type) +
           what[complex];
  }
};

template <class... Pairs>
struct PairList {
  template <class F>
  static void ForEach(F f) {
    (f(Pairs()), ...);
  }
};
using Complex64 = comp_cComplex<float>;
using Complex128 = comp_cComplex<double>;

using AllPairs =
    PairList<Pair<unsigned char, unsigned short>, Pair<unsigned short, unsigned char>, Pair<int, short>,
             Pair<unsigned short, float>, Pair<unsigned short, double>, Pair<unsigned int, float>,
             Pair<unsigned int, double>, Pair<int, float>, Pair<float, double>, Pair<double, float>,
             Pair<float, unsigned char>, Pair<float, short>, Pair<float, int>, Pair<float, unsigned int>,
             Pair<double, unsigned char>, Pair<double, short>, Pair<double, int>, Pair<double, unsigned int>,
             Pair<short, Complex64>, Pair<float, Complex64>, Pair<double, Complex128>,
             Pair<Complex128, Complex64>, Pair<Complex64, float>, Pair<Complex128, double>,
             Pair<Complex64, float, conv_Magnitude>, Pair<Complex128, double, conv_Magnitude>,
             Pair<Complex128, short, conv_Magnitude>, Pair<Complex64, float, conv_Phase>,
             Pair<Complex128, double, conv_Phase>>;
/// Those whose targets take more bytes than their sources.
using WideningPairs = PairList<Pair<unsigned char, unsigned short>, Pair<unsigned short, float>,
                               Pair<unsigned short, double>, Pair<unsigned int, double>, Pair<float, double>,
                               Pair<short, Complex64>, Pair<float, Complex64>, Pair<double, Complex128>>;
/// Those that are measured into new memory as well.
using PairsForNewArrays = PairList<Pair<unsigned short, float>, Pair<float, double>, Pair<double, float>,
                                   Pair<double, short>, Pair<Complex128, double, conv_Magnitude>>;

template <class T>
Block<T> ConversionSource(std::int64_t count) {
  Block<T> source = NewBlock<T>(count);
  for (std::int64_t i = 0; i < count; ++i) {
    if constexpr (is_complex<T>) {
      using Part = decltype(T().Real());
      source[static_cast<std::size_t>(i)] = {static_cast<Part>(i % 251 - 100),
                                             static_cast<Part>(i % 83 - 40)};
    } else {
      source[static_cast<std::size_t>(i)] = static_cast<T>(static_cast<double>(i % 251) * 0.75);
    }
  }
  return source;
}

template <class Way, class Pair>
void Convert(benchmark::State& state, std::int64_t count) {
  const auto source = ConversionSource<typename Pair::Source>(count);
  const auto target = FilledBlock<typename Pair::Target>(count);
  for (auto _ : state) {
    Way::template Convert<Pair>(source.get(), target.get(), count);
    benchmark::ClobberMemory();
  }
  SetBytes(state, count * Pair::bytes);
}
/// Into memory that is allocated as programs without this library do.
template <class Way, class Pair>
void ConvertIntoNewMemory(benchmark::State& state, std::int64_t count) {
  const auto source = ConversionSource<typename Pair::Source>(count);
  for (auto _ : state) {
    const auto target =
        std::make_unique_for_overwrite<typename Pair::Target[]>(static_cast<std::size_t>(count));
    Way::template Convert<Pair>(source.get(), target.get(), count);
    benchmark::DoNotOptimize(target.get());
    benchmark::ClobberMemory();
  }
  SetBytes(state, count * Pair::bytes);
}

template <class Pair>
std::string ConversionRow(const char* work, const Size& size) {
  return std::string(work) + '/' + Pair::Name() + '/' + size.name;
}

template <class Way, class Pairs = AllPairs>
void RegisterConversions() {
  Pairs::ForEach([]<class Pair>(Pair) {
    for (const Size& size : sizes)
      Register(ConversionRow<Pair>("A", size), Way::template name<Pair>, Convert<Way, Pair>, size.elements);
  });
}
template <class Way>
void RegisterConversionsIntoNewMemory() {
  PairsForNewArrays::ForEach([]<class Pair>(Pair) {
    for (const Size& size : sizes)
      Register(ConversionRow<Pair>("AN", size), Way::template name<Pair>, ConvertIntoNewMemory<Way, Pair>,
               size.elements);
  });
}
