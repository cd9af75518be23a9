#include "blocks/classify/core/excursion_peaks.h"

#include <algorithm>
#include <cstdlib>

#include "kernels/level.h"

namespace vynpack {

ExcursionPeaks::ExcursionPeaks(const CountingRules& rules, int channels)
    : ExtremeCounting(rules, channels, 1), state_(groups()) {
    forget();
}

void ExcursionPeaks::open(int channel, float sample) {
    const auto [group, lane] = std::div(channel, kGroupLanes);
    state_[static_cast<std::size_t>(group)].last[lane] = sample;
}

bool ExcursionPeaks::search(std::size_t group, const LaneRows& rows, double* extremes,
                            double* /*shifts*/) {
    vyn::kernelsAt<ExcursionKernels>().find(rows, rules().referenceLine, rules().hysteresis,
                                            &state_[group], extremes);
    return false;
}

void ExcursionPeaks::forget() {
    // Kept: after a reset the first pair starts at 0.
    ExcursionLanes fresh{};
    std::ranges::fill(fresh.extreme, rules().referenceLine);
    std::ranges::fill(state_, fresh);
}

}  // namespace vynpack
