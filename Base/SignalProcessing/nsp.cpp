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

using detail::BitsOf;
using detail::ForEachElement;

// The functions of one element have no branches, only selections of values, so that compilers vectorise the
// loops over them.

template <class Float, class Integer>
DATASTORAGE_IN_LINE Float Cast(Integer value) {
  return static_cast<Float>(value);
}

template <class Float, class Integer>
DATASTORAGE_IN_LINE Float FromInteger(Integer value) {
  return Cast<Float>(value);
}

// Only AVX-512 can convert unsigned 32-bit integers to floats; both of these round at most once.
template <>
DATASTORAGE_IN_LINE float FromInteger(unsigned int value) {
  return static_cast<float>(static_cast<int>(value >> 16)) * 65536.0f +
         static_cast<float>(static_cast<int>(value & 0xffff));
}
template <>
DATASTORAGE_IN_LINE double FromInteger(unsigned int value) {
  return static_cast<double>(static_cast<int>(value ^ 0x80000000u)) + 2147483648.0;
}

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

/// `condition ? a : b`, written with bit masks: compilers move what follows the operator into its branches,
/// and then multiply every number by both factors, which may make it too small and processors slow.
template <class T>
DATASTORAGE_IN_LINE T Choose(bool condition, T a, T b) {
  const BitsOf<T> mask = -static_cast<BitsOf<T>>(condition);
  return std::bit_cast<T>((std::bit_cast<BitsOf<T>>(a) & mask) | (std::bit_cast<BitsOf<T>>(b) & ~mask));
}

/// The larger part of a number without its sign, or a part that is not a number.
template <class T>
DATASTORAGE_IN_LINE T LargerPart(const comp_cComplex<T>& value) {
  const T a = std::abs(value.Real());
  const T b = std::abs(value.Imaginary());
  return a > b ? a : b;
}

/// Whether the larger part is neither 0 nor in the range of `lowest` to `highest`.
template <class T>
DATASTORAGE_IN_LINE bool IsOutside(const comp_cComplex<T>& value, T lowest, T highest) {
  const T larger = LargerPart(value);
  const T nonzero = larger == 0 ? 1 : larger;
  return !((nonzero >= lowest) & (nonzero <= highest));
}

template <class T>
DATASTORAGE_IN_LINE T Magnitude(const comp_cComplex<T>& value) {
  return std::sqrt(value.Real() * value.Real() + value.Imaginary() * value.Imaginary());
}

/// Numbers below `small` are multiplied by `up` and those above `large` by `down`, powers of two, so that
/// their squares and the sum of the squares are in range and as exact as those of other numbers.
template <class T>
struct Range;
template <>
struct Range<float> {
  static constexpr float small = 0x1p-60f, large = 0x1p62f, up = 0x1p100f, down = 0x1p-80f;
};
template <>
struct Range<double> {
  static constexpr double small = 0x1p-500, large = 0x1p510, up = 0x1p600, down = 0x1p-600;
};

template <class T>
DATASTORAGE_IN_LINE bool MagnitudeIsRare(const comp_cComplex<T>& value) {
  return IsOutside(value, Range<T>::small, Range<T>::large);
}

template <class T>
DATASTORAGE_IN_LINE T RareMagnitude(const comp_cComplex<T>& value) {
  using R = Range<T>;
  constexpr T infinity = std::numeric_limits<T>::infinity();
  const T a = std::abs(value.Real());
  const T b = std::abs(value.Imaginary());
  const T larger = LargerPart(value);
  const T factor = Choose(larger > R::large, R::down, Choose(larger < R::small, R::up, T(1)));
  const T back = Choose(larger > R::large, 1 / R::down, Choose(larger < R::small, 1 / R::up, T(1)));
  const T result = Magnitude<T>({a * factor, b * factor}) * back;
  const bool infinite = (a == infinity) | (b == infinity);
  return infinite ? infinity : result;
}

/// atan(q) = q + q^3 p(q^2) for |q| <= tan(pi/8): minimax coefficients of p (relative error of the result:
/// 2^-30 for floats, 2^-59 for doubles), and pi/4 as a sum whose first part can be multiplied by 0 to 4
/// exactly. The polynomials are summed in pairs: short dependency chains are faster than a long one.
template <class T>
struct ArcTangent;
template <>
struct ArcTangent<float> {
  static constexpr float quarter_pi = 0x1.921fb0p-1f, quarter_pi_rest = 0x1.5110b4p-23f;
  DATASTORAGE_IN_LINE static float P(float z) {
    constexpr float p[] = {-0.33333315505f, 0.19998489426f, -0.14243848541f, 0.10596000007f,
                           -0.060834491676f};
    const float z2 = z * z;
    return (p[0] + z * p[1]) + z2 * ((p[2] + z * p[3]) + z2 * p[4]);
  }
};
template <>
struct ArcTangent<double> {
  static constexpr double quarter_pi = 0x1.921fb54442d18p-1, quarter_pi_rest = 0x1.1a62633145c07p-55;
  DATASTORAGE_IN_LINE static double P(double z) {
    constexpr double p[] = {-0.33333333333333199108, 0.19999999999954081579,   -0.14285714280248449058,
                            0.11111110786134361559,  -0.090908978363374562747, 0.076920616349433430344,
                            -0.06663120357255814895, 0.058480087098933599404,  -0.050398445322611828979,
                            0.038078294992402855865, -0.017922249820150334933};
    const double z2 = z * z;
    const double z4 = z2 * z2;
    return ((p[0] + z * p[1]) + z2 * (p[2] + z * p[3])) +
           z4 * (((p[4] + z * p[5]) + z2 * (p[6] + z * p[7])) + z4 * ((p[8] + z * p[9]) + z2 * p[10]));
  }
};

template <class T>
DATASTORAGE_IN_LINE T Phase(const comp_cComplex<T>& value) {
  using A = ArcTangent<T>;
  constexpr T tan_eighth_pi = T(0.41421356237309504880);
  const T x = value.Real();
  const T y = value.Imaginary();
  const T abs_x = std::abs(x);
  const T abs_y = std::abs(y);

  // The tangent of the angle to the nearer axis or, beyond pi/8, to the diagonal.
  const bool steep = abs_y > abs_x;
  const T minor = steep ? abs_x : abs_y;
  const T major = steep ? abs_y : abs_x;
  const bool diagonal = minor > tan_eighth_pi * major;
  const T divisor = diagonal ? minor + major : major;
  const T tangent = (diagonal ? minor - major : minor) / (major == 0 ? 1 : divisor);

  // The angle lies on one side or the other of a multiple of pi/4.
  const T forward = std::copysign(T(1), x);
  const T side = steep ? -forward : forward;
  const T quarters = (steep ? T(2) : 2 - 2 * forward) + (diagonal ? side : T(0));
  const T q = tangent * side;
  const T z = tangent * tangent;
  const T rest = (quarters * A::quarter_pi_rest + q) + q * z * A::P(z);
  return std::copysign(quarters * A::quarter_pi + rest, y);
}

/// Below the first, numbers have too few digits for a product with the tangent; above the second, their sum
/// may be out of range.
template <class T>
constexpr T phase_small = std::numeric_limits<T>::min();
template <class T>
constexpr T phase_large = std::numeric_limits<T>::max() / 4;

template <class T>
DATASTORAGE_IN_LINE bool PhaseIsRare(const comp_cComplex<T>& value) {
  return IsOutside(value, phase_small<T>, phase_large<T>);
}

/// A finite part beside an infinite one counts as 0; two infinite parts as equal.
template <class T>
DATASTORAGE_IN_LINE T RarePhase(const comp_cComplex<T>& value) {
  constexpr T infinity = std::numeric_limits<T>::infinity();
  constexpr T up = 4 / std::numeric_limits<T>::epsilon();
  const T larger = LargerPart(value);
  const T finite = Choose(larger > phase_large<T>, T(0.25), Choose(larger < phase_small<T>, up, T(1)));
  const T factor = Choose(larger == infinity, T(0), finite);
  const auto scaled = [=](T part) {
    return std::abs(part) == infinity ? std::copysign(T(1), part) : part * factor;
  };
  return Phase<T>({scaled(value.Real()), scaled(value.Imaginary())});
}

template <class Float, class Integer>
void RoundToIntegers(const Float* source, Integer* target, std::int64_t count) {
  std::int64_t done = 0;
#if defined(DATASTORAGE_WIDE_LOOPS)
  if (detail::VectorBits() >= 256) done = detail::RoundBlocks(source, target, count);
#endif
  ForEachElement<ToInteger<Integer, Float>>(source + done, target + done, count - done);
}

template <class Float>
void IntToFloat(const void* source, Float* target, std::int64_t count, int word_size, int flags) {
  WithIntegerOf(word_size, flags, [=]<class Integer>(std::type_identity<Integer>) {
    const auto* integers = static_cast<const Integer*>(source);
#if defined(DATASTORAGE_WIDE_LOOPS)
    if constexpr (std::is_same_v<Integer, unsigned int>)
      if (detail::VectorBits() == 512)
        return detail::With512Bits<detail::ElementLoop<Cast<Float, Integer>, Integer, Float>>(integers,
                                                                                              target, count);
#endif
    ForEachElement<FromInteger<Float, Integer>>(integers, target, count);
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
  ForEachElement<Magnitude<float>, MagnitudeIsRare<float>, RareMagnitude<float>>(source, target, count);
}
void nspcbPhase(const comp_cComplex<float>* source, float* target, std::int64_t count) {
  ForEachElement<Phase<float>, PhaseIsRare<float>, RarePhase<float>>(source, target, count);
}

void nspzbReal(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Real<double>>(source, target, count);
}
void nspzbImag(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Imaginary<double>>(source, target, count);
}
void nspzbMag(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Magnitude<double>, MagnitudeIsRare<double>, RareMagnitude<double>>(source, target, count);
}
void nspzbPhase(const comp_cComplex<double>* source, double* target, std::int64_t count) {
  ForEachElement<Phase<double>, PhaseIsRare<double>, RarePhase<double>>(source, target, count);
}
