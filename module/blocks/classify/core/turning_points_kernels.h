// The search for turning points.
#pragma once

#include <cstddef>

namespace vynpack {

// A channel's state between pairs of samples.
struct TurningState {
    float last = 0.0F;  // sample
    int slope = 0;      // of the last pair: 1, 0, -1; 0 before the first one
    int candidate = 0;  // 1 a maximum, -1 a minimum, 0 none
    float extreme = 0.0F;
};

struct TurningKernels {
    // Frames in one go, at most.
    static constexpr std::size_t kMostFrames = 1024;

    // Takes `frames` samples of a channel, x[0], x[stride] and so on. Writes the extremes that they
    // let count, in their order; returns how many.
    std::size_t (*find)(const float* x, std::size_t stride, std::size_t frames,
                        double referenceLine, double hysteresis, TurningState* state,
                        double* extremes);

    static const TurningKernels baseline, avx2, avx512;
};

}  // namespace vynpack
