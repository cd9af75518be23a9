// The level block's loops over samples, compiled for several instruction-set levels. They work on
// groups of up to 8 channels, one lane each: a sum runs in sample order per channel, the lanes run
// side by side.
#pragma once

#include <cstddef>

namespace vynpack {

inline constexpr int kLevelLanes = 8;

// What a group of channels gathers, in squared ratios.
struct LevelLanes {
    double maximum[kLevelLanes];
    double minimum[kLevelLanes];
    double energy[kLevelLanes];
    double clockMaximum[kLevelLanes];      // of the clock interval under way
    double lastClockMaximum[kLevelLanes];  // of the last one completed
    double clockSum[kLevelLanes];          // of all completed
};

// The bin that each lane's ratio was last seen in.
struct LevelWindow {
    double from[kLevelLanes];
    double to[kLevelLanes];
};

struct LevelKernels {
    // Lanes are 1, 2, 4 or 8. Samples lie at x[frame * stride + lane], ratios at
    // ratios[frame * lanes + lane]; a ratio of 0 is written as 1.

    // Exponential mean of the squares: m += alpha * (x^2 - m).
    void (*smooth)(const float* x, std::size_t stride, std::size_t frames, int lanes, double alpha,
                   double* meanSquares, double* ratios);
    // The squares themselves.
    void (*square)(const float* x, std::size_t stride, std::size_t frames, int lanes,
                   double* ratios);
    // Maximum, minimum, energy and clock maximum of the ratios. hits[lane] = how many of them lie
    // in the window.
    void (*gather)(const double* ratios, std::size_t frames, int lanes, const LevelWindow* window,
                   LevelLanes* state, double* hits);

    static const LevelKernels baseline, avx2, avx512;
};

}  // namespace vynpack
