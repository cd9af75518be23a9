// The search for turning points.
#pragma once

#include "blocks/classify/core/extreme_lanes.h"

namespace vynpack {

// State between pairs of samples; flags are 0 or 1.
struct TurningLanes {
    double last[kGroupLanes];
    double extreme[kGroupLanes];    // the candidate
    double slope[kGroupLanes];      // 1, 0, -1, or kSlopeUnknown
    double candidate[kGroupLanes];  // 1 a maximum, -1 a minimum, 0 none
};

struct TurningKernels {
    // extremes[frame * lanes + lane] = the extreme that the pair of the last and this sample lets
    // count, or kNoExtreme.
    void (*find)(LaneRows rows, double referenceLine, double hysteresis, TurningLanes* state,
                 double* extremes);

    static const TurningKernels baseline, avx2, avx512;
};

}  // namespace vynpack
