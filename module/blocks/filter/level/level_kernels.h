// The level block's loops over samples, compiled for several instruction-set levels. They work on
// groups of up to 8 channels, one lane each: a sum runs in sample order per channel, the lanes run
// side by side.
#pragma once

#include <cstddef>

#include "numerics/lane_rows.h"

namespace vynpack {

// What a group of channels gathers, in squared ratios.
struct LevelLanes {
    double maximum[kGroupLanes];
    double minimum[kGroupLanes];
    double energy[kGroupLanes];
    double clockMaximum[kGroupLanes];      // of the clock interval under way
    double lastClockMaximum[kGroupLanes];  // of the last one completed
    double clockSum[kGroupLanes];          // of all completed
};

// The bin that each lane's ratio was last seen in.
struct LevelWindow {
    double from[kGroupLanes];
    double to[kGroupLanes];
};

struct LevelKernels {
    // Ratios lie at ratios[frame * lanes + lane]; a ratio of 0 is written as 1.

    // Exponential mean of the squares: m += alpha * (x^2 - m).
    void (*smooth)(LaneRows rows, double alpha, double* meanSquares, double* ratios);
    // The squares themselves.
    void (*square)(LaneRows rows, double* ratios);
    // Maximum, minimum, energy and clock maximum of the ratios. hits[lane] = how many of them lie
    // in the window.
    void (*gather)(const double* ratios, std::size_t frames, int lanes, const LevelWindow* window,
                   LevelLanes* state, double* hits);

    // A channel on its own waits for its mean, sample by sample; meanwhile the energy can be
    // summed: energies[0] is its value before the first ratio, energies[f + 1] after ratio f.
    void (*smoothOne)(LaneRows rows, double alpha, double* meanSquare, double* ratios,
                      double* energies);
    // The same as `gather` for a channel whose energy is known.
    void (*gatherOne)(const double* ratios, std::size_t frames, const LevelWindow* window,
                      LevelLanes* state, double* hits);

    static const LevelKernels baseline, avx2, avx512;
};

}  // namespace vynpack
