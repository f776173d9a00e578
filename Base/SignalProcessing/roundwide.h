#pragma once

#include <cstdint>
#include <immintrin.h>
#include <limits>
#include <type_traits>

/// Conversion of floats to integers with 256-bit instructions, only for processors with AVX2: compilers do
/// not generate the packed conversions that round and saturate.
namespace detail {

#define DATASTORAGE_WIDE_IN_LINE [[gnu::target("avx2"), gnu::always_inline]] inline

// These convert to 32-bit integers, which may still be below the range of a narrower signed type: packing
// saturates them. The conversion instruction turns every value out of range into the lowest integer. min and
// max return the second operand when either is NaN.

template <class Integer>
DATASTORAGE_WIDE_IN_LINE __m256i RoundEight(const float* source) {
  constexpr float highest =
      static_cast<float>(std::numeric_limits<Integer>::max());  // 2^31 or 2^32 for 32 bits
  const __m256 limit = _mm256_set1_ps(highest);
  const __m256 value = _mm256_loadu_ps(source);
  if constexpr (std::is_signed_v<Integer>) {
    const __m256 low = sizeof(Integer) < 4 ? _mm256_min_ps(limit, value) : value;
    const __m256 too_large =
        sizeof(Integer) < 4 ? _mm256_setzero_ps() : _mm256_cmp_ps(value, limit, _CMP_GE_OQ);
    const __m256i rounded = _mm256_xor_si256(_mm256_cvtps_epi32(low), _mm256_castps_si256(too_large));
    return _mm256_and_si256(rounded, _mm256_castps_si256(_mm256_cmp_ps(value, value, _CMP_ORD_Q)));
  } else {
    const __m256 positive = _mm256_max_ps(value, _mm256_setzero_ps());
    if constexpr (sizeof(Integer) < 4) return _mm256_cvtps_epi32(_mm256_min_ps(positive, limit));
    const __m256 half = _mm256_set1_ps(0x1p31f);
    const __m256 upper = _mm256_cmp_ps(positive, half, _CMP_GE_OQ);
    const __m256i rounded = _mm256_cvtps_epi32(_mm256_sub_ps(positive, _mm256_and_ps(upper, half)));
    const __m256i high_bit = _mm256_slli_epi32(_mm256_castps_si256(upper), 31);
    const __m256 too_large = _mm256_cmp_ps(positive, limit, _CMP_GE_OQ);
    return _mm256_or_si256(_mm256_xor_si256(rounded, high_bit), _mm256_castps_si256(too_large));
  }
}

template <class Integer>
DATASTORAGE_WIDE_IN_LINE __m128i RoundFour(const double* source) {
  const __m256d limit = _mm256_set1_pd(std::numeric_limits<Integer>::max());
  const __m256d value = _mm256_loadu_pd(source);
  if constexpr (std::is_signed_v<Integer>) {
    const __m256d number = _mm256_and_pd(value, _mm256_cmp_pd(value, value, _CMP_ORD_Q));
    return _mm256_cvtpd_epi32(_mm256_min_pd(number, limit));
  } else {
    const __m256d number = _mm256_min_pd(_mm256_max_pd(value, _mm256_setzero_pd()), limit);
    if constexpr (sizeof(Integer) < 4) return _mm256_cvtpd_epi32(number);
    const __m256d whole = _mm256_round_pd(number, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    const __m128i rounded = _mm256_cvtpd_epi32(_mm256_sub_pd(whole, _mm256_set1_pd(0x1p31)));
    return _mm_xor_si128(rounded, _mm_set1_epi32(std::numeric_limits<int>::min()));
  }
}

template <class Integer>
DATASTORAGE_WIDE_IN_LINE __m256i RoundEight(const double* source) {
  return _mm256_set_m128i(RoundFour<Integer>(source + 4), RoundFour<Integer>(source));
}

/// Converts the elements in blocks of 32 and returns how many it converted; fewer than 32 remain.
template <class Integer, class Float>
[[gnu::target("avx2")]] std::int64_t RoundBlocks(const Float* source, Integer* target, std::int64_t count) {
  static_assert(sizeof(Integer) <= 4, "AVX2 has no conversion to integers of this width");
  constexpr bool is_signed = std::is_signed_v<Integer>;
  std::int64_t i = 0;
  for (; i + 32 <= count; i += 32) {
    const __m256i a = RoundEight<Integer>(source + i);
    const __m256i b = RoundEight<Integer>(source + i + 8);
    const __m256i c = RoundEight<Integer>(source + i + 16);
    const __m256i d = RoundEight<Integer>(source + i + 24);
    __m256i* const out = reinterpret_cast<__m256i*>(target + i);
    // Packing works on each half of the operands separately, hence the permutations.
    if constexpr (sizeof(Integer) == 4) {
      _mm256_storeu_si256(out, a);
      _mm256_storeu_si256(out + 1, b);
      _mm256_storeu_si256(out + 2, c);
      _mm256_storeu_si256(out + 3, d);
    } else if constexpr (sizeof(Integer) == 2) {
      const __m256i ab = is_signed ? _mm256_packs_epi32(a, b) : _mm256_packus_epi32(a, b);
      const __m256i cd = is_signed ? _mm256_packs_epi32(c, d) : _mm256_packus_epi32(c, d);
      _mm256_storeu_si256(out, _mm256_permute4x64_epi64(ab, 0xd8));
      _mm256_storeu_si256(out + 1, _mm256_permute4x64_epi64(cd, 0xd8));
    } else {
      const __m256i ab = _mm256_packs_epi32(a, b);
      const __m256i cd = _mm256_packs_epi32(c, d);
      const __m256i all = is_signed ? _mm256_packs_epi16(ab, cd) : _mm256_packus_epi16(ab, cd);
      const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
      _mm256_storeu_si256(out, _mm256_permutevar8x32_epi32(all, order));
    }
  }
  return i;
}

#undef DATASTORAGE_WIDE_IN_LINE

}  // namespace detail
