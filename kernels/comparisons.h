// For kernel sources: eight comparisons at once, as bits. Whoever looks for the few places where
// something happens goes from bit to bit, and no branch depends on the samples between them.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace vyn {
namespace {

#if defined(__AVX512F__)
using Eight = __m256;
inline std::uint32_t bitsBelow(Eight a, Eight b) { return _mm256_cmp_ps_mask(a, b, _CMP_LT_OQ); }
inline std::uint32_t bitsEqual(Eight a, Eight b) { return _mm256_cmp_ps_mask(a, b, _CMP_EQ_OQ); }
#elif defined(__AVX2__)
using Eight = __m256;
inline std::uint32_t bitsBelow(Eight a, Eight b) {
    return static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_LT_OQ)));
}
inline std::uint32_t bitsEqual(Eight a, Eight b) {
    return static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_EQ_OQ)));
}
#else
struct Eight {
    __m128 low;
    __m128 high;
};
inline std::uint32_t bitsBelow(Eight a, Eight b) {
    return static_cast<std::uint32_t>(_mm_movemask_ps(_mm_cmplt_ps(a.low, b.low)) |
                                      _mm_movemask_ps(_mm_cmplt_ps(a.high, b.high)) << 4);
}
inline std::uint32_t bitsEqual(Eight a, Eight b) {
    return static_cast<std::uint32_t>(_mm_movemask_ps(_mm_cmpeq_ps(a.low, b.low)) |
                                      _mm_movemask_ps(_mm_cmpeq_ps(a.high, b.high)) << 4);
}
#endif

inline Eight eightFrom(const float* x) {
#if defined(__AVX2__)
    return _mm256_loadu_ps(x);
#else
    return {_mm_loadu_ps(x), _mm_loadu_ps(x + 4)};
#endif
}
inline Eight eightOf(float x) {
#if defined(__AVX2__)
    return _mm256_set1_ps(x);
#else
    return {_mm_set1_ps(x), _mm_set1_ps(x)};
#endif
}

// Bit i: whether a[i] < b[i], never for NaN. A single number stands for eight like it.
inline std::uint32_t eightBelow(const float* a, const float* b) {
    return bitsBelow(eightFrom(a), eightFrom(b));
}
inline std::uint32_t eightBelow(const float* a, float b) {
    return bitsBelow(eightFrom(a), eightOf(b));
}
inline std::uint32_t eightBelow(float a, const float* b) {
    return bitsBelow(eightOf(a), eightFrom(b));
}

// Bit i: whether a[i] == b.
inline std::uint32_t eightEqual(const float* a, float b) {
    return bitsEqual(eightFrom(a), eightOf(b));
}

}  // namespace
}  // namespace vyn
