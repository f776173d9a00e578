#include "test.h"
#include <DataStorage/interfaces/detail/elementloop.h>
#include <DataStorage/numbers/elements.h>

namespace {

template <class T>
constexpr bool is_complex = false;
template <class T>
constexpr bool is_complex<comp_cComplex<T>> = true;

template <class Source, class Target>
std::vector<Target> Converted(const std::vector<Source>& source,
                              conv_eComplexConversion conversion = conv_Real) {
  std::vector<Target> target(source.size());
  conv_ConvertElements(detail::DataTypeOf<Source>, detail::DataTypeOf<Target>,
                       static_cast<std::int64_t>(source.size()), conversion, source.data(), target.data());
  return target;
}

/// Limits, ties and their neighbours, small numbers, then random bits.
template <class T>
std::vector<T> Samples(std::size_t count) {
  std::mt19937_64 random(count);
  std::vector<T> samples;
  if constexpr (is_complex<T>) {
    using Part = decltype(T().Real());
    const std::vector<Part> parts = Samples<Part>(count);
    for (const Part re : parts) samples.push_back({re, parts[random() % parts.size()]});
  } else if constexpr (std::is_integral_v<T>) {
    samples = {0, 1, T(-1), std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
    while (samples.size() < count) samples.push_back(static_cast<T>(random()));
  } else {
    using L = std::numeric_limits<T>;
    for (const T x : {T(0), L::infinity(), L::quiet_NaN(), L::denorm_min(), L::min(), L::max()})
      samples.insert(samples.end(), {x, -x});
    for (const double limit : {0., 1., 2., 127., 128., 255., 256., 32767., 32768., 65535., 65536., 8388608.,
                               2147483647., 2147483648., 4294967295., 4294967296., 9.3e18})
      for (const double away : {-1., -0.5, 0., 0.5, 1.})
        for (const double sign : {-1., 1.}) {
          const T value = T(sign * (limit + away));
          for (const T x : {std::nextafter(value, T(-infinity)), value, std::nextafter(value, T(infinity))})
            samples.push_back(x);
        }
    while (samples.size() < count) {
      samples.push_back(T(std::ldexp(double(random()), -static_cast<int>(random() % 70))));
      samples.push_back(
          std::bit_cast<T>(static_cast<std::conditional_t<sizeof(T) == 4, int, std::int64_t>>(random())));
    }
  }
  samples.resize(count);
  return samples;
}

template <class Target, class Source>
Target RealRule(Source value) {
  if constexpr (std::is_integral_v<Target> && std::is_floating_point_v<Source>) {
    if (std::isnan(value)) return 0;
    const double rounded = std::nearbyint(double(value));
    if (rounded <= double(std::numeric_limits<Target>::min())) return std::numeric_limits<Target>::min();
    if (rounded >= double(std::numeric_limits<Target>::max())) return std::numeric_limits<Target>::max();
    return static_cast<Target>(rounded);
  } else {
    return static_cast<Target>(value);
  }
}

/// The expected conversion of one element, with the real part of complex sources.
template <class Target, class Source>
Target Rule(const Source& value) {
  if constexpr (is_complex<Target>) {
    using Part = decltype(Target().Real());
    if constexpr (is_complex<Source>)
      return {RealRule<Part>(value.Real()), RealRule<Part>(value.Imaginary())};
    return {Rule<Part>(value)};
  } else if constexpr (is_complex<Source>) {
    return RealRule<Target>(value.Real());
  } else {
    return RealRule<Target>(value);
  }
}

template <class T>
bool SameBits(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

/// Calls `check` once for each implementation of the loops on this machine.
template <class Check>
void OnEveryPath(Check check) {
#if defined(DATASTORAGE_WIDE_LOOPS)
  const int widest = detail::VectorBits();
  for (int bits = 128; bits < widest; bits *= 2) {
    detail::VectorBits() = bits;
    check();
  }
  detail::VectorBits() = widest;
#endif
  check();
}

template <class Source>
class ElementsOf : public testing::Test {};
TYPED_TEST_SUITE(ElementsOf, detail::ElementTypes::Apply<testing::Types>);

TYPED_TEST(ElementsOf, FollowTheRuleOfTheirPairOnEveryPath) {
  using Source = TypeParam;
  for (const std::size_t count : {0u, 1u, 3u, 31u, 5003u}) {
    const std::vector<Source> source = Samples<Source>(count);
    detail::ElementTypes::ForEach([&]<class Target>(std::type_identity<Target>) {
      std::vector<Target> expected;
      for (const Source& value : source) expected.push_back(Rule<Target>(value));
      OnEveryPath([&] {
        EXPECT_TRUE(SameBits(Converted<Source, Target>(source), expected))
            << detail::ShortName(detail::DataTypeOf<Target>) << ", count " << count;
      });
    });
  }
}

TYPED_TEST(ElementsOf, WriteEveryTargetElementAndNothingElse) {
  using Bytes = std::vector<unsigned char>;
  const std::vector<TypeParam> source = Samples<TypeParam>(40);
  detail::ElementTypes::ForEach([&]<class Target>(std::type_identity<Target>) {
    for (const int count : {-1, 0, 1, 7, 31, 40})
      OnEveryPath([&] {
        const auto over = [&](unsigned char before) {
          Bytes target(42 * sizeof(Target), before);
          conv_ConvertElements(detail::DataTypeOf<TypeParam>, detail::DataTypeOf<Target>, count, conv_Real,
                               source.data(), target.data());
          const auto end = target.begin() + std::max(count, 0) * std::ssize(target) / 42;
          EXPECT_EQ(std::count(end, target.end(), before), target.end() - end);
          return Bytes(target.begin(), end);
        };
        EXPECT_EQ(over(0x00), over(0xff)) << detail::ShortName(detail::DataTypeOf<Target>);
      });
  });
}

TEST(Elements, OfLargeTargetsFollowTheRuleWhereverTheyLie) {
  const auto check = []<class Source, class Target>(Source, Target, std::size_t offset) {
    const std::size_t count = (std::size_t{33} << 20) / sizeof(Target) + 7;
    const std::vector<Source> samples = Samples<Source>(5003);
    std::vector<Source> source(count);
    std::vector<unsigned char> target(offset + (count + 9) * sizeof(Target), 0xa5), expected = target;
    for (std::size_t i = 0; i < count; ++i) {
      source[i] = samples[i % samples.size()];
      const Target value = Rule<Target>(source[i]);
      std::memcpy(&expected[offset + i * sizeof(Target)], &value, sizeof(Target));
    }
    conv_ConvertElements(detail::DataTypeOf<Source>, detail::DataTypeOf<Target>,
                         static_cast<std::int64_t>(count), conv_Real, source.data(), &target[offset]);
    EXPECT_TRUE(target == expected) << detail::ShortName(detail::DataTypeOf<Target>) << ", " << offset;
  };
  check(short(), double(), 0);
  check(float(), int(), 4);
  check(short(), comp_cComplex<double>(), 0);
  check(short(), comp_cComplex<double>(), 8);  // no element begins where a line of the caches does
}

TEST(Elements, OfUnknownTypesAreLeftAlone) {
  for (const int bad : {-1, 0, detail::ElementTypes::size + 1}) {
    const double source = 1;
    double target = 17;
    conv_ConvertElements(static_cast<dtyp_eDataType>(bad), dtyp_Float64, 1, conv_Real, &source, &target);
    conv_ConvertElements(dtyp_Float64, static_cast<dtyp_eDataType>(bad), 1, conv_Real, &source, &target);
    EXPECT_EQ(target, 17);
  }
}

TEST(Elements, OfComplexNumbersBecomeWhatTheCallerNames) {
  const std::vector<comp_cComplex<double>> source = {{3, 4}};
  const std::pair<int, double> rows[] = {{0, 3}, {1, 4}, {2, 5}, {3, std::atan2(4, 3)}, {4, 3}, {-1, 3}};
  for (const auto& [number, value] : rows) {
    const auto conversion = static_cast<conv_eComplexConversion>(number);
    EXPECT_DOUBLE_EQ((Converted<comp_cComplex<double>, double>(source, conversion)[0]), value);
    EXPECT_FLOAT_EQ((Converted<comp_cComplex<double>, float>(source, conversion)[0]), float(value));
    EXPECT_EQ((Converted<comp_cComplex<double>, short>(source, conversion)[0]), std::lround(value));
    EXPECT_EQ((Converted<comp_cComplex<double>, comp_cComplex<float>>(source, conversion)[0]),
              comp_cComplex<float>(3, 4));
  }
}

/// The distance of `value` from the true result in units in the last place of the latter; 0 also if both are
/// the same infinity, zero (of the same sign) or not a number.
template <class T>
double Error(T value, long double truth) {
  const T nearest = static_cast<T>(truth);
  if (std::isnan(nearest)) return std::isnan(value) ? 0 : infinity;
  if (value == nearest && (value != 0 || std::signbit(value) == std::signbit(nearest))) return 0;
  if (std::isinf(value) || std::isinf(nearest)) return infinity;
  const T size = std::abs(nearest);
  return static_cast<double>(std::abs(value - truth) / (std::nextafter(size, T(infinity)) - size));
}

template <class T>
class ComplexElementsOf : public testing::Test {};
using Parts = testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexElementsOf, Parts);

TYPED_TEST(ComplexElementsOf, MagnitudeAndPhaseAreAccurateEverywhere) {
  using T = TypeParam;
  using C = comp_cComplex<T>;
  std::vector<C> source;
  const std::vector<T> special = Samples<T>(12 + 17 * 30);
  constexpr T smallest = std::numeric_limits<T>::denorm_min();
  for (const T re : special)
    for (const T im : special) source.push_back({re, im});
  for (int re = -20; re <= 20; ++re)
    for (int im = -20; im <= 20; ++im) source.push_back({T(re) * smallest, T(im) * smallest});
  std::mt19937 random(1);
  std::uniform_real_distribution<T> part(-1, 1);
  for (int i = 0; i < 300'000; ++i) {  // with a special one far from others here and there
    const auto next = [&] { return i % 1000 == 0 ? special[random() % special.size()] : part(random); };
    source.push_back({next(), next()});
  }
  for (const C& value : Samples<C>(200'000)) source.push_back(value);

  OnEveryPath([&] {
    const std::vector<T> magnitude = Converted<C, T>(source, conv_Magnitude);
    const std::vector<T> phase = Converted<C, T>(source, conv_Phase);
    double magnitude_error = 0, phase_error = 0;
    for (std::size_t i = 0; i < source.size(); ++i) {
      const long double re = source[i].Real(), im = source[i].Imaginary();
      magnitude_error = std::max(magnitude_error, Error(magnitude[i], std::hypot(re, im)));
      phase_error = std::max(phase_error, Error(phase[i], std::atan2(im, re)));
    }
    EXPECT_LE(magnitude_error, 1.5);
    EXPECT_LE(phase_error, 3);
  });
}

}  // namespace
