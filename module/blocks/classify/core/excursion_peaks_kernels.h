// The search for one extreme per excursion.
#pragma once

#include "blocks/classify/core/extreme_lanes.h"

namespace vynpack {

// State between pairs of samples; flags are 0 or 1.
struct ExcursionLanes {
    double last[kGroupLanes];     // sample
    double extreme[kGroupLanes];  // of the excursion
    double crossedUpward[kGroupLanes];
    double crossedDownward[kGroupLanes];
};

struct ExcursionKernels {
    // extremes[frame * lanes + lane] = the extreme that the pair of the last and this sample lets
    // count, or kNoExtreme.
    void (*find)(LaneRows rows, double referenceLine, double hysteresis, ExcursionLanes* state,
                 double* extremes);

    static const ExcursionKernels baseline, avx2, avx512;
};

}  // namespace vynpack
