// What the searches for extremes have in common: they compare each sample with the one before, a
// channel per lane, and write a value per frame and lane.
#pragma once

#include "numerics/lane_rows.h"

namespace vynpack {

// What stands where no extreme counts.
inline constexpr double kNoExtreme = __builtin_nan("");

// Before the first pair of a run, and after a reset; later slopes are 1, 0 or -1.
inline constexpr double kSlopeUnknown = 2.0;

}  // namespace vynpack
