// Counting of level crossings.
#pragma once

#include <cstddef>
#include <cstdint>

#include "blocks/classify/core/sample_pairs.h"

namespace vynpack {

// Classes that are looked at together.
inline constexpr int kClassesTogether = 16;

// Some classes of a level crossing count, in the samples' own precision: rounded to the side
// that changes no comparison with a sample. Where crossings count downwards, the signs of samples
// and values are turned over. What is not a number compares with nothing.
struct CrossingClasses {
    std::int32_t count;                    // places that hold a class
    float sign[kClassesTogether];          // 1 or -1
    float limit[kClassesTogether];         // counts from below it to it or above
    float back[kClassesTogether];          // re-armed at it and below
    float onward[kClassesTogether];        // or at it and above
    std::int32_t armed[kClassesTogether];  // -1 or 0
    std::uint32_t crossings[kClassesTogether];
    // No limit, its sign not turned, lies outside these.
    float lowest;
    float highest;
};

struct CrossingKernels {
    // One channel's pairs through all `groups` of classes.
    void (*count)(const SamplePairs& pairs, CrossingClasses* classes, std::size_t groups);

    static const CrossingKernels baseline, avx2, avx512;
};

}  // namespace vynpack
