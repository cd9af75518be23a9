#include "classify/excursion_peaks.h"

#include <algorithm>

#include "classify/extreme_counting.h"

namespace vynpack {

ExcursionPeaks::ExcursionPeaks(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      state_(static_cast<std::size_t>(channels), Channel{.extreme = rules.referenceLine}),
      counts_(rules.scale, channels),
      totals_(state_.size()),
      peaks_(kPairsInWork) {}

void ExcursionPeaks::update(std::span<const float> samples, double /*step*/,
                            std::span<float> values) {
    forEachPiece(
        samples, state_.size(), first_, [&](std::size_t c, float x) { state_[c].last = x; },
        [&](std::size_t c, const float* x, std::size_t pairs) {
            const std::size_t found = findPeaks(state_[c], x, state_.size(), pairs, peaks_.data());
            totals_[c] += counts_.add(static_cast<int>(c), {peaks_.data(), found});
        });
    first_ = false;
    float* value = values.data();
    for (int k = 0; k < classes(); ++k) {
        for (int c = 0; c < channels(); ++c) {
            const std::uint32_t count = counts_.at(k, c);
            *value++ = rules().relative ? percentOf(count, totals_[static_cast<std::size_t>(c)])
                                        : static_cast<float>(count);
        }
    }
}

std::size_t ExcursionPeaks::findPeaks(Channel& channel, const float* x, std::size_t stride,
                                      std::size_t pairs, double* peaks) const {
    const double line = rules().referenceLine;
    const double above = line + rules().hysteresis;
    const double below = line - rules().hysteresis;
    auto [a, extreme, crossedUpward, crossedDownward] = channel;
    std::size_t found = 0;
    for (std::size_t i = 0; i < pairs; ++i) {
        const double b = x[i * stride];
        if (b >= line && line > a) {
            crossedUpward = true;
        } else if (line > b && a >= line) {
            crossedDownward = true;
        }
        if (a >= line && a > extreme) extreme = a;
        if (a < line && a < extreme) extreme = a;
        if (crossedUpward && crossedDownward) {
            if (extreme >= above || extreme < below) peaks[found++] = extreme;
            (extreme >= line ? crossedUpward : crossedDownward) = false;
            extreme = line;
        }
        a = b;
    }
    channel = {a, extreme, crossedUpward, crossedDownward};
    return found;
}

void ExcursionPeaks::reset() {
    // Kept: after a reset the first pair starts at 0.
    std::fill(state_.begin(), state_.end(), Channel{.extreme = rules().referenceLine});
    counts_.clear();
    std::fill(totals_.begin(), totals_.end(), 0U);
}

}  // namespace vynpack
