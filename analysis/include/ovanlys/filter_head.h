// The public head of a filter object: the roots and gain of its transfer function in z,
//
//     H(z) = gain * product(z - zero) / product(z - pole).
//
// Whoever edits the lists sets `changed` to 1; the next filtering call rebuilds the object's
// sections from them and clears its state. What follows the head in memory is the library's own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovanlys {

struct FilterHead {
    static constexpr int kMaxRoots = 128;

    std::int32_t zeroCount;  // 0..kMaxRoots
    std::int32_t poleCount;  // 0..kMaxRoots
    double gain;
    double zeros[2 * kMaxRoots];  // (real, imaginary) pairs; complex roots in conjugate pairs, any
                                  // order
    double poles[2 * kMaxRoots];
    std::int32_t changed;
};

static_assert(offsetof(FilterHead, gain) == 8);
static_assert(offsetof(FilterHead, zeros) == 16);
static_assert(offsetof(FilterHead, poles) == 16 + 256 * sizeof(double));
static_assert(offsetof(FilterHead, changed) == 16 + 512 * sizeof(double));

}  // namespace ovanlys
