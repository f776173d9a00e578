// Conversion by loops as one writes them without a library, optimised by the compiler.

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "../conversion.h"

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

[[maybe_unused]] const bool registered = [] {
  RegisterConversions<Loop>();
  RegisterConversionsIntoNewMemory<Loop>();
  return true;
}();

}  // namespace
