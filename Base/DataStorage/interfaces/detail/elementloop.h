#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

/// Marks functions of one element: compilers vectorise loops over them only when they are inlined.
#if defined(__GNUC__)
#define DATASTORAGE_IN_LINE [[gnu::always_inline]] inline
#else
#define DATASTORAGE_IN_LINE inline
#endif

#if defined(__GNUC__) && defined(__x86_64__)
#define DATASTORAGE_WIDE_LOOPS 1
#endif

namespace detail {

/// A signed integer as wide as `T`.
template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;

#if defined(DATASTORAGE_WIDE_LOOPS)
/// The width of the vectors in loops, in bits: 512 when the processor has AVX-512 (with its instructions for
/// small and for 64-bit elements), 256 when it has AVX2, or 128; tests change it. The results are the same
/// each way, since no loop uses fused multiply-add.
inline int& VectorBits() {
  static int bits = __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw") &&
                            __builtin_cpu_supports("avx512dq")
                        ? 512
                    : __builtin_cpu_supports("avx2") ? 256
                                                     : 128;
  return bits;
}

template <auto loop, class... Arguments>
[[gnu::target("avx512vl,avx512bw,avx512dq")]] void With512Bits(Arguments... arguments) {
  loop(arguments...);
}
template <auto loop, class... Arguments>
[[gnu::target("avx2")]] void With256Bits(Arguments... arguments) {
  loop(arguments...);
}
#endif

/// Calls `loop`, compiled for the widest vectors of this processor up to `most_bits`. Requires that it is
/// DATASTORAGE_IN_LINE.
template <int most_bits, auto loop, class... Arguments>
void WithVectors(Arguments... arguments) {
#if defined(DATASTORAGE_WIDE_LOOPS)
  if constexpr (most_bits == 512)
    if (VectorBits() == 512) return With512Bits<loop>(arguments...);
  if (VectorBits() >= 256) return With256Bits<loop>(arguments...);
#endif
  loop(arguments...);
}

template <auto element, class Source, class Target>
DATASTORAGE_IN_LINE void ElementLoop(const Source* __restrict source, Target* __restrict target,
                                     std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) target[i] = element(source[i]);
}

/// The same; returns whether `is_rare` holds for an element.
template <auto element, auto is_rare, class Source, class Target>
DATASTORAGE_IN_LINE bool CheckedElementLoop(const Source* __restrict source, Target* __restrict target,
                                            std::int64_t count) {
  BitsOf<Target> any_is_rare = 0;
  for (std::int64_t i = 0; i < count; ++i) {
    const Source value = source[i];
    target[i] = element(value);
    any_is_rare |= is_rare(value);
  }
  return any_is_rare != 0;
}

/// The same in blocks that stay in the first-level cache. A block with a rare element is computed again by
/// `rare_element`; the blocks after it only by that, up to one without a rare element.
template <auto element, auto is_rare, auto rare_element, class Source, class Target>
DATASTORAGE_IN_LINE void ElementLoopByBlocks(const Source* source, Target* target, std::int64_t count) {
  constexpr std::int64_t block_size = 512;
  bool rare = false;
  for (std::int64_t done = 0; done < count; done += block_size) {
    const std::int64_t n = std::min(block_size, count - done);
    if (!rare) rare = CheckedElementLoop<element, is_rare>(source + done, target + done, n);
    if (rare) rare = CheckedElementLoop<rare_element, is_rare>(source + done, target + done, n);
  }
}

/// Sets target[i] = element(source[i]) for `count` elements. Requires that `element` is DATASTORAGE_IN_LINE.
/// Uses at most 256 bits, as loops that mainly read and write are not faster with more.
template <auto element, class Source, class Target>
void ForEachElement(const Source* source, Target* target, std::int64_t count) {
  WithVectors<256, ElementLoop<element, Source, Target>>(source, target, count);
}

/// The same for an `element` that takes longer and is wrong where `is_rare` holds; `rare_element` is right
/// everywhere.
template <auto element, auto is_rare, auto rare_element, class Source, class Target>
void ForEachElement(const Source* source, Target* target, std::int64_t count) {
  WithVectors<512, ElementLoopByBlocks<element, is_rare, rare_element, Source, Target>>(source, target,
                                                                                        count);
}

}  // namespace detail
