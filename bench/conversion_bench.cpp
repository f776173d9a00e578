#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <DataStorage/numbers/elements.h>

namespace {

template <class T>
constexpr bool is_complex = false;
template <class T>
constexpr bool is_complex<comp_cComplex<T>> = true;

/// What one writes without a library; the compiler does with it what it can.
template <class Target, class Source>
Target PlainRule(const Source& value, conv_eComplexConversion conversion) {
  if constexpr (is_complex<Source> && !is_complex<Target>) {
    const auto re = value.Real(), im = value.Imaginary();
    switch (conversion) {
      case conv_Imaginary:
        return PlainRule<Target>(im, conversion);
      case conv_Magnitude:
        return PlainRule<Target>(std::hypot(re, im), conversion);
      case conv_Phase:
        return PlainRule<Target>(std::atan2(im, re), conversion);
      default:
        return PlainRule<Target>(re, conversion);
    }
  } else if constexpr (is_complex<Source>) {
    using Part = decltype(Target().Real());
    return {static_cast<Part>(value.Real()), static_cast<Part>(value.Imaginary())};
  } else if constexpr (is_complex<Target>) {
    return static_cast<decltype(Target().Real())>(value);
  } else if constexpr (std::is_integral_v<Target> && std::is_floating_point_v<Source>) {
    if (std::isnan(value)) return 0;
    using Limits = std::numeric_limits<Target>;
    return static_cast<Target>(
        std::nearbyint(std::clamp(static_cast<double>(value), double(Limits::min()), double(Limits::max()))));
  } else {
    return static_cast<Target>(value);
  }
}

template <class Source, class Target, int conversion>
struct Pair {
  std::size_t count;
  std::vector<Source> source;
  std::vector<Target> target;

  explicit Pair(benchmark::State& state)
      : count(static_cast<std::size_t>(state.range(0))), source(count), target(count) {
    for (std::size_t i = 0; i < count; ++i) {
      if constexpr (is_complex<Source>)
        source[i] = {decltype(Source().Real())(i % 251) - 100, decltype(Source().Real())(i % 83) - 40};
      else
        source[i] = static_cast<Source>(static_cast<double>(i % 251) * 0.75);
    }
  }

  void Report(benchmark::State& state) const {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
    state.SetBytesProcessed(state.items_processed() *
                            static_cast<std::int64_t>(sizeof(Source) + sizeof(Target)));
  }

  static void Ours(benchmark::State& state) {
    Pair pair(state);
    for (auto _ : state) {
      conv_ConvertElements(
          detail::DataTypeOf<Source>, detail::DataTypeOf<Target>, static_cast<std::int64_t>(pair.count),
          static_cast<conv_eComplexConversion>(conversion), pair.source.data(), pair.target.data());
      benchmark::ClobberMemory();
    }
    pair.Report(state);
  }

  static void Plain(benchmark::State& state) {
    Pair pair(state);
    for (auto _ : state) {
      const Source* source = pair.source.data();
      Target* target = pair.target.data();
      for (std::size_t i = 0; i < pair.count; ++i)
        target[i] = PlainRule<Target>(source[i], static_cast<conv_eComplexConversion>(conversion));
      benchmark::ClobberMemory();
    }
    pair.Report(state);
  }

  /// The limit: as many bytes read and written, half of them each way.
  static void Copy(benchmark::State& state) {
    Pair pair(state);
    const std::size_t bytes = pair.count * (sizeof(Source) + sizeof(Target)) / 2;
    std::vector<char> from(bytes, 1), to(bytes, 1);
    for (auto _ : state) {
      std::memcpy(to.data(), from.data(), bytes);
      benchmark::ClobberMemory();
    }
    pair.Report(state);
  }
};

template <class Source, class Target, int conversion = conv_Real>
void Register() {
  constexpr const char* what[] = {"", "_imaginary", "_magnitude", "_phase"};
  const std::string pair = std::string("Conversion/") + detail::ShortName(detail::DataTypeOf<Source>) + "_" +
                           detail::ShortName(detail::DataTypeOf<Target>) + what[conversion];
  using This = Pair<Source, Target, conversion>;
  for (const auto& [name, function] : {std::pair("/Ours", &This::Ours), std::pair("/PlainLoop", &This::Plain),
                                       std::pair("/Memcpy", &This::Copy)})
    benchmark::RegisterBenchmark((pair + name).c_str(), function)->Arg(1 << 10)->Arg(1 << 15)->Arg(1 << 24);
}

using Complex64 = comp_cComplex<float>;
using Complex128 = comp_cComplex<double>;

[[maybe_unused]] const bool registered = [] {
  Register<unsigned char, unsigned short>();
  Register<unsigned short, unsigned char>();
  Register<int, short>();
  Register<unsigned short, float>();
  Register<unsigned short, double>();
  Register<unsigned int, float>();
  Register<unsigned int, double>();
  Register<int, float>();
  Register<float, double>();
  Register<double, float>();
  Register<float, unsigned char>();
  Register<float, short>();
  Register<float, int>();
  Register<float, unsigned int>();
  Register<double, unsigned char>();
  Register<double, short>();
  Register<double, int>();
  Register<double, unsigned int>();
  Register<short, Complex64>();
  Register<float, Complex64>();
  Register<double, Complex128>();
  Register<Complex128, Complex64>();
  Register<Complex64, float>();
  Register<Complex128, double>();
  Register<Complex64, float, conv_Magnitude>();
  Register<Complex128, double, conv_Magnitude>();
  Register<Complex64, float, conv_Phase>();
  Register<Complex128, double, conv_Phase>();
  Register<Complex128, short, conv_Magnitude>();
  return true;
}();

}  // namespace
