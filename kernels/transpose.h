// For kernel sources: rows of four numbers turned to columns.
#pragma once

#include "kernels/lanes.h"

namespace vyn {
namespace {

// Four rows of four numbers; or of twice four, where each half of the registers is turned by
// itself.
inline Lanes<4>::Floats lower(Lanes<4>::Floats a, Lanes<4>::Floats b) {
    return __builtin_shufflevector(a, b, 0, 4, 1, 5);
}
inline Lanes<4>::Floats upper(Lanes<4>::Floats a, Lanes<4>::Floats b) {
    return __builtin_shufflevector(a, b, 2, 6, 3, 7);
}
inline Lanes<4>::Floats lowerPairs(Lanes<4>::Floats a, Lanes<4>::Floats b) {
    return __builtin_shufflevector(a, b, 0, 1, 4, 5);
}
inline Lanes<4>::Floats upperPairs(Lanes<4>::Floats a, Lanes<4>::Floats b) {
    return __builtin_shufflevector(a, b, 2, 3, 6, 7);
}
#if defined(__AVX2__)
inline Lanes<8>::Floats lower(Lanes<8>::Floats a, Lanes<8>::Floats b) {
    return __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13);
}
inline Lanes<8>::Floats upper(Lanes<8>::Floats a, Lanes<8>::Floats b) {
    return __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15);
}
inline Lanes<8>::Floats lowerPairs(Lanes<8>::Floats a, Lanes<8>::Floats b) {
    return __builtin_shufflevector(a, b, 0, 1, 8, 9, 4, 5, 12, 13);
}
inline Lanes<8>::Floats upperPairs(Lanes<8>::Floats a, Lanes<8>::Floats b) {
    return __builtin_shufflevector(a, b, 2, 3, 10, 11, 6, 7, 14, 15);
}
#endif

template <class Floats>
[[gnu::always_inline]] inline void transpose(Floats (&x)[4]) {
    const Floats lower01 = lower(x[0], x[1]);
    const Floats upper01 = upper(x[0], x[1]);
    const Floats lower23 = lower(x[2], x[3]);
    const Floats upper23 = upper(x[2], x[3]);
    x[0] = lowerPairs(lower01, lower23);
    x[1] = upperPairs(lower01, lower23);
    x[2] = lowerPairs(upper01, upper23);
    x[3] = upperPairs(upper01, upper23);
}

}  // namespace
}  // namespace vyn
