#include <bit>
#include <climits>
#include <cmath>
#include <limits>
#include <type_traits>

#include <DataStorage/interfaces/detail/elementloop.h>
#include <DataStorage/interfaces/detail/nsp.h>
#include <DataStorage/interfaces/elementtypes.h>
#if defined(DATASTORAGE_WIDE_LOOPS)
#include <SignalProcessing/roundwide.h>
#endif

namespace {

using detail::ForEachElement;

// The functions of one element have no branches, only selections of values, so that compilers vectorise the
// loops over them.

template <class Float, class Integer>
DATASTORAGE_IN_LINE Float FromInteger(Integer value) {
  return static_cast<Float>(value);
}

// AVX2 cannot convert unsigned 32-bit integers to floats; both of these round at most once.
template <>
DATASTORAGE_IN_LINE float FromInteger(unsigned int value) {
  return static_cast<float>(static_cast<int>(value >> 16)) * 65536.0f +
         static_cast<float>(static_cast<int>(value & 0xffff));
}
template <>
DATASTORAGE_IN_LINE double FromInteger(unsigned int value) {
  return static_cast<double>(static_cast<int>(value ^ 0x80000000u)) + 2147483648.0;
}

template <class Float>
using BitsOf = std::conditional_t<sizeof(Float) == 4, std::int32_t, std::int64_t>;

/// Whether the mantissa of `Float` holds every `Integer` and two more bits.
template <class Integer, class Float>
constexpr bool fits_mantissa = std::numeric_limits<Integer>::digits < std::numeric_limits<Float>::digits - 2;

/// Adding 1.5 * 2^52 (2^23 for floats) moves a value, rounded to nearest even, into the low bits of the sum.
template <class Integer, class Float>
DATASTORAGE_IN_LINE Integer ToInteger(Float source) {
  using Wide = std::conditional_t<fits_mantissa<Integer, Float>, Float, double>;
  static_assert(fits_mantissa<Integer, Wide>, "an integer of this width needs a ToInteger of its own");
  constexpr Wide lowest = std::numeric_limits<Integer>::min();
  constexpr Wide highest = std::numeric_limits<Integer>::max();
  constexpr Wide shift = Wide(1.5) / std::numeric_limits<Wide>::epsilon();
  Wide value = source;
  value = value == value ? value : Wide(0);
  value = value > lowest ? value : lowest;
  value = value < highest ? value : highest;
  return static_cast<Integer>(std::bit_cast<BitsOf<Wide>>(value + shift));
}

template <class T>
DATASTORAGE_IN_LINE T Real(const comp_cComplex<T>& value) {
  return value.Real();
}

template <class T>
DATASTORAGE_IN_LINE T Imaginary(const comp_cComplex<T>& value) {
  return value.Imaginary();
}

/// Calls `f` with the `std::type_identity` of the integer element type of that width and signedness; does
/// nothing when there is none.
template <class F>
void WithIntegerOf(int word_size, int flags, F f) {
  const bool is_unsigned = (flags & nsp_Unsigned) != 0;
  detail::ElementTypes::ForEach([=]<class T>(std::type_identity<T> type) {
    if constexpr (std::is_integral_v<T>) {
      if (word_size == CHAR_BIT * int{sizeof(T)} && is_unsigned == std::is_unsigned_v<T>) f(type);
    }
  });
}

/// `condition ? a : b`, written with bit masks because compilers turn the operator into branches, or
/// duplicate later conditions for each outcome; both make loops much slower.
template <class T>
DATASTORAGE_IN_LINE T Choose(bool condition, T a, T b) {
  const BitsOf<T> mask = -static_cast<BitsOf<T>>(condition);
  return std::bit_cast<T>((std::bit_cast<BitsOf<T>>(a) & mask) | (std::bit_cast<BitsOf<T>>(b) & ~mask));
}

/// Numbers below `small` are multiplied by `up` and those above `large` by `down`, powers of two, so that
/// their squares and the sum of the squares are in range.
template <class T>
struct Range;
template <>
struct Range<float> {
  static constexpr float small = 0x1p-40f, large = 0x1p60f, up = 0x1p100f, down = 0x1p-80f;
};
template <>
struct Range<double> {
  static constexpr double small = 0x1p-400, large = 0x1p500, up = 0x1p600, down = 0x1p-600;
};

template <class T>
DATASTORAGE_IN_LINE T Magnitude(const comp_cComplex<T>& value) {
  using R = Range<T>;
  constexpr T infinity = std::numeric_limits<T>::infinity();
  const T a = std::abs(value.Real());
  const T b = std::abs(value.Imaginary());
  const T larger = a > b ? a : b;
  const T factor = Choose(larger > R::large, R::down, Choose(larger < R::small, R::up, T(1)));
  const T back = Choose(larger > R::large, 1 / R::down, Choose(larger < R::small, 1 / R::up, T(1)));
  const T x = a * factor;
  const T y = b * factor;
  const T result = std::sqrt(x * x + y * y) * back;
  return Choose((a == infinity) | (b == infinity), infinity, result);
}

/// atan(q) = q + q^3 p(q^2) for |q| <= tan(pi/8): minimax coefficients of p (relative error of the result:
/// 2^-30 for floats, 2^-59 for doubles), and pi/4 as a sum whose first part can be multiplied by 0 to 4
/// exactly.
template <class T>
struct ArcTangent;
template <>
struct ArcTangent<float> {
  static constexpr float p[] = {-0.33333315505f, 0.19998489426f, -0.14243848541f, 0.10596000007f,
                                -0.060834491676f};
  static constexpr float quarter_pi = 0x1.921fb0p-1f, quarter_pi_rest = 0x1.5110b4p-23f;
};
template <>
struct ArcTangent<double> {
  static constexpr double p[] = {-0.33333333333333199108, 0.19999999999954081579,   -0.14285714280248449058,
                                 0.11111110786134361559,  -0.090908978363374562747, 0.076920616349433430344,
                                 -0.06663120357255814895, 0.058480087098933599404,  -0.050398445322611828979,
                                 0.038078294992402855865, -0.017922249820150334933};
  static constexpr double quarter_pi = 0x1.921fb54442d18p-1, quarter_pi_rest = 0x1.1a62633145c07p-55;
};

/// Sums even and odd powers separately: two short dependency chains are faster than a long one.
template <class T, std::size_t n>
DATASTORAGE_IN_LINE T Polynomial(const T (&coefficients)[n], T z) {
  T sums[2] = {0, 0};
  for (std::size_t i = n; i-- > 0;) sums[i % 2] = sums[i % 2] * (z * z) + coefficients[i];
  return sums[0] + z * sums[1];
}

template <class T>
DATASTORAGE_IN_LINE T Phase(const comp_cComplex<T>& value) {
  using A = ArcTangent<T>;
  constexpr T infinity = std::numeric_limits<T>::infinity();
  constexpr T tan_eighth_pi = T(0.41421356237309504880);
  const T x = value.Real();
  const T y = value.Imaginary();
  const T abs_x = std::abs(x);
  const T abs_y = std::abs(y);

  // The tangent of the angle to the nearer axis or, beyond pi/8, to the diagonal. The largest numbers are
  // scaled down so that their sum stays finite.
  const bool steep = abs_y > abs_x;
  const T minor = Choose(steep, abs_x, abs_y);
  const T major = Choose(steep, abs_y, abs_x);
  const bool both_infinite = (minor == infinity) & (major == infinity);
  const bool diagonal = (minor > tan_eighth_pi * major) | both_infinite;
  const T factor = Choose(major > std::numeric_limits<T>::max() / 4, T(0.25), T(1));
  const T sum = major * factor + minor * factor;
  const T ratio = Choose(diagonal, minor - major, minor) * factor / Choose(diagonal, sum, major * factor);
  const T q = Choose(both_infinite | (sum == 0), T(0), ratio);
  const T z = q * q;
  const T angle = q + q * (z * Polynomial(A::p, z));

  // Add the angle to, or subtract it from, its multiple of pi/4.
  const bool backward = std::copysign(T(1), x) < 0;
  T quarters = Choose(diagonal, T(1), T(0));
  quarters = Choose(steep, 2 - quarters, quarters);
  quarters = Choose(backward, 4 - quarters, quarters);
  const T rest = quarters * A::quarter_pi_rest + Choose(steep != backward, -angle, angle);
  return std::copysign(quarters * A::quarter_pi + rest, y);
}

template <class Float, class Integer>
void RoundToIntegers(const Float* source, Integer* target, std::int64_t count) {
  std::int64_t done = 0;
#if defined(DATASTORAGE_WIDE_LOOPS)
  if (detail::WideLoops()) done = detail::RoundBlocks(source, target, count);
#endif
  ForEachElement<ToInteger<Integer, Float>>(source + done, target + done, count - done);
}

template <class Float>
void IntToFloat(const void* source, Float* target, std::int64_t count, int word_size, int flags) {
  WithIntegerOf(word_size, flags, [=]<class Integer>(std::type_identity<Integer>) {
    ForEachElement<FromInteger<Float, Integer>>(static_cast<const Integer*>(source), target, count);
  });
}

template <class Float>
void FloatToInt(const Float* source, void* target, std::int64_t count, int word_size, int flags) {
  WithIntegerOf(word_size, flags, [=]<class Integer>(std::type_identity<Integer>) {
    RoundToIntegers(source, static_cast<Integer*>(target), count);
  });
}

}  // namespace

void nspsbIntToFloat(const void* source, float* target, std::int64_t count, int word_size, int flags) {
  IntToFloat(source, target, count, word_size, flags);
}
void nspdbIntToFloat(const void* source, double* target, std::int64_t count, int word_size, int flags) {
  IntToFloat(source, target, count, word_size, flags);
}

void nspsbFloatToInt(const float* source, void* target, std::int64_t count, int word_size, int flags) {
  FloatToInt(source, target, count, word_size, flags);
}
void nspdbFloatToInt(const double* source, void* target, std::int64_t count, int word_size, int flags) {
  FloatToInt(source, target, count, word_size, flags);
}

void nspcbReal(const comp_cComplex<float>* source, float* target, std::int64_t count) {
  ForEachElement<Real<float>>(source, target, count);
}
void nspcbImag(const comp_cComplex<float>* source, float* target, std::int64_t count) {
  ForEachElement<Imaginary<float>>(source, target, count);
}
void nspcbMag(const comp_cComplex<float>* source, float* target, std::int64_t count) {
  ForEachElement<Magnitude<float>>(source, target, count);
}
void nspcbPhase(const comp_cComplex<float>* source, float* target, std::int64_t count) {
  ForEachElement<Phase<float>>(source, target, count);
}

void nspzbReal(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Real<double>>(source, target, count);
}
void nspzbImag(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Imaginary<double>>(source, target, count);
}
void nspzbMag(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Magnitude<double>>(source, target, count);
}
void nspzbPhase(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Phase<double>>(source, target, count);
}
