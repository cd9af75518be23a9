// The search for maxima and minima apart.
#pragma once

#include "blocks/classify/core/extreme_lanes.h"

namespace vynpack {

// State between pairs of samples; flags are 0 or 1.
struct SeparateLanes {
    double last[kGroupLanes];
    double maximum[kGroupLanes];  // the last ones accepted
    double minimum[kGroupLanes];
    double slope[kGroupLanes];
    double maximumPending[kGroupLanes];
    double minimumPending[kGroupLanes];
};

struct SeparateKernels {
    // extremes[frame * lanes + lane] = the extreme that the pair of the last and this sample lets
    // count, or kNoExtreme. shifts: likewise, `shift` for a maximum, 0 for a minimum.
    void (*find)(LaneRows rows, double hysteresis, double shift, SeparateLanes* state,
                 double* extremes, double* shifts);

    static const SeparateKernels baseline, avx2, avx512;
};

}  // namespace vynpack
