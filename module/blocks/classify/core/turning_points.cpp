#include "blocks/classify/core/turning_points.h"

#include <algorithm>

#include "kernels/level.h"

namespace vynpack {

TurningPoints::TurningPoints(const CountingRules& rules, int channels)
    : ExtremeCounting(rules, channels, 1), state_(static_cast<std::size_t>(channels)) {}

void TurningPoints::open(int channel, float sample) {
    state_[static_cast<std::size_t>(channel)].last = sample;
}

void TurningPoints::count(const float* x, std::size_t frames) {
    const TurningKernels& kernels = vyn::kernelsAt<TurningKernels>();
    const std::size_t width = state_.size();
    while (frames > 0) {
        const std::size_t now = std::min(frames, kMostExtremes);
        for (std::size_t c = 0; c < width; ++c) {
            const std::size_t found = kernels.find(x + c, width, now, rules().referenceLine,
                                                   rules().hysteresis, &state_[c], extremes());
            countExtremes(c, found);
        }
        x += now * width;
        frames -= now;
    }
}

void TurningPoints::forget() {
    // Kept: after a reset the first pair starts at 0.
    std::ranges::fill(state_, TurningState{});
}

}  // namespace vynpack
