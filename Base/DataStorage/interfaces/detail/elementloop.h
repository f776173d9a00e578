#pragma once

#include <cstdint>

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

#if defined(DATASTORAGE_WIDE_LOOPS)
/// Whether loops use 256-bit vectors: true when the processor has AVX2; tests change it. The results are the
/// same either way, since the wide loops use no fused multiply-add.
inline bool& WideLoops() {
  static bool wide = __builtin_cpu_supports("avx2");
  return wide;
}
#endif

template <auto element, class Source, class Target>
DATASTORAGE_IN_LINE void ElementLoop(const Source* __restrict source, Target* __restrict target,
                                     std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) target[i] = element(source[i]);
}

#if defined(DATASTORAGE_WIDE_LOOPS)
template <auto element, class Source, class Target>
[[gnu::target("avx2")]] void WideElementLoop(const Source* source, Target* target, std::int64_t count) {
  ElementLoop<element>(source, target, count);
}
#endif

/// Sets target[i] = element(source[i]) for `count` elements. Requires that `element` is DATASTORAGE_IN_LINE.
template <auto element, class Source, class Target>
void ForEachElement(const Source* source, Target* target, std::int64_t count) {
#if defined(DATASTORAGE_WIDE_LOOPS)
  if (WideLoops()) return WideElementLoop<element>(source, target, count);
#endif
  ElementLoop<element>(source, target, count);
}

}  // namespace detail
