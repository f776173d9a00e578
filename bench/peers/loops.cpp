// Conversion by loops as one writes them without a library, optimised by the compiler.

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "../conversion.h"
#if defined(__AVX__)
#include <immintrin.h>
#endif

#if defined(__x86_64__) && defined(__GLIBC__) && !defined(__clang__)
#if __GLIBC_PREREQ(2, 35)
// Lets the compiler use the vector versions of these functions, which are in libmvec of the C library.
#define DATASTORAGE_BENCH_LIBMVEC
extern "C" [[gnu::simd("notinbranch")]] double atan2(double, double) noexcept;
extern "C" [[gnu::simd("notinbranch")]] float atan2f(float, float) noexcept;
#endif
#endif

namespace {

template <class Target, class Source>
Target Rule(const Source& value, conv_eComplexConversion complex) {
  if constexpr (is_complex<Source> && is_complex<Target>) {
    using Part = decltype(Target().Real());
    return {static_cast<Part>(value.Real()), static_cast<Part>(value.Imaginary())};
  } else if constexpr (is_complex<Source>) {
    const auto re = value.Real(), im = value.Imaginary();
    switch (complex) {
      case conv_Imaginary:
        return Rule<Target>(im, complex);
      case conv_Magnitude:
        return Rule<Target>(std::hypot(re, im), complex);
      case conv_Phase:
        return Rule<Target>(std::atan2(im, re), complex);
      default:
        return Rule<Target>(re, complex);
    }
  } else if constexpr (std::is_integral_v<Target> && std::is_floating_point_v<Source>) {
    using Limits = std::numeric_limits<Target>;
    using Wide = WideEnough<Target, Source>;  // holds both limits
    const Wide rounded = std::nearbyint(std::clamp(static_cast<Wide>(value), static_cast<Wide>(Limits::min()),
                                                   static_cast<Wide>(Limits::max())));
    return static_cast<Target>(std::isnan(rounded) ? 0 : rounded);
  } else if constexpr (is_complex<Target>) {
    return static_cast<decltype(Target().Real())>(value);
  } else {
    return static_cast<Target>(value);
  }
}

#if defined(DATASTORAGE_BENCH_LIBMVEC)
constexpr const char* phases_by = "libmvec";
#else
constexpr const char* phases_by = "loop";
#endif

struct Loop {
  template <class Pair>
  static constexpr const char* name = Pair::complex == conv_Phase ? phases_by : "loop";
  template <class Pair>
  static void Convert(const typename Pair::Source* source, typename Pair::Target* target,
                      std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
      target[i] = Rule<typename Pair::Target>(source[i], Pair::complex);
    }
  }
};

/// The root of the sum of the squares: wrong where a square is out of range.
struct Squares {
  template <class Pair>
  static constexpr const char* name = "squares";
  template <class Pair>
  static void Convert(const typename Pair::Source* source, typename Pair::Target* target,
                      std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
      const auto re = source[i].Real(), im = source[i].Imaginary();
      target[i] = std::sqrt(re * re + im * im);
    }
  }
};

#if defined(__AVX__)
/// By stores that go past the caches, from a block that stays in the first one; `count` fills whole blocks.
struct Streaming {
  template <class Pair>
  static void Convert(const typename Pair::Source* source, typename Pair::Target* target,
                      std::int64_t count) {
    __m256i block[4096 / sizeof(__m256i)];
    constexpr std::int64_t n = 4096 / sizeof(typename Pair::Target);
    for (std::int64_t done = 0; done < count; done += n) {
      Loop::Convert<Pair>(source + done, reinterpret_cast<typename Pair::Target*>(block), n);
      auto* out = reinterpret_cast<__m256i*>(target + done);
      for (const __m256i& value : block) _mm256_stream_si256(out++, value);
    }
    _mm_sfence();
  }
};
#endif

[[maybe_unused]] const bool registered = [] {
  RegisterConversions<Loop>();
  RegisterConversionsIntoNewMemory<Loop>();
  RegisterConversions<
      Squares, PairList<Pair<Complex64, float, conv_Magnitude>, Pair<Complex128, double, conv_Magnitude>>>();
#if defined(__AVX__)
  WideningPairs::ForEach([]<class Pair>(Pair) {
    Register(ConversionRow<Pair>("A", sizes[2]), "streaming", Convert<Streaming, Pair>, sizes[2].elements);
  });
#endif
  return true;
}();

}  // namespace
