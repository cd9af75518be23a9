#include "blocks/classify/core/turning_points.h"

#include <algorithm>
#include <cstdlib>

#include "kernels/level.h"

namespace vynpack {

TurningPoints::TurningPoints(const CountingRules& rules, int channels)
    : ExtremeCounting(rules, channels, 1), state_(groups()) {
    forget();
}

void TurningPoints::open(int channel, float sample) {
    const auto [group, lane] = std::div(channel, kGroupLanes);
    state_[static_cast<std::size_t>(group)].last[lane] = sample;
}

bool TurningPoints::search(std::size_t group, const LaneRows& rows, double* extremes,
                           double* /*shifts*/) {
    vyn::kernelsAt<TurningKernels>().find(rows, rules().referenceLine, rules().hysteresis,
                                          &state_[group], extremes);
    return false;
}

void TurningPoints::forget() {
    // Kept: after a reset the first pair starts at 0.
    TurningLanes fresh{};
    std::ranges::fill(fresh.extreme, rules().referenceLine);
    std::ranges::fill(fresh.slope, kSlopeUnknown);
    std::ranges::fill(state_, fresh);
}

}  // namespace vynpack
