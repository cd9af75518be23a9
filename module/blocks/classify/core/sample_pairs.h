// What the methods that look at one channel after the other take.
#pragma once

#include <algorithm>
#include <cstddef>

namespace vynpack {

// Pairs of neighbouring samples of a channel: (last, x[0]), (x[0], x[stride]), ...
struct SamplePairs {
    const float* x;
    std::size_t stride;
    std::size_t count;
    float last;
};

// The pairs of a channel's samples, of which there is one at least. `last`: the sample before them;
// null at the start of a run, where the first sample has none.
inline SamplePairs samplePairs(const float* x, std::size_t stride, std::size_t samples,
                               const float* last) {
    if (last != nullptr) return {x, stride, samples, *last};
    return {x + stride, stride, samples - 1, *x};
}

// Samples per channel that stay in the nearest cache while one channel after the other takes its
// own, but as many as make the beginning of a stretch worth it.
inline std::size_t framesNear(std::size_t channels) {
    constexpr std::size_t kValuesNear = 8192;
    constexpr std::size_t kFewest = 64;
    return std::max(kFewest, kValuesNear / channels);
}

}  // namespace vynpack
