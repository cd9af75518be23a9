#include "classify/turning_points.h"

#include <algorithm>

namespace vynpack {

TurningPoints::TurningPoints(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      state_(static_cast<std::size_t>(channels), Channel{.extreme = rules.referenceLine}),
      counts_(rules.scale, channels),
      totals_(state_.size()),
      extremes_(kPairsInWork) {}

void TurningPoints::update(std::span<const float> samples, double /*step*/,
                           std::span<float> values) {
    forEachPiece(
        samples, state_.size(), first_, [&](std::size_t c, float x) { state_[c].last = x; },
        [&](std::size_t c, const float* x, std::size_t pairs) {
            const std::size_t found =
                findExtremes(state_[c], x, state_.size(), pairs, extremes_.data());
            totals_[c] += counts_.add(static_cast<int>(c), {extremes_.data(), found});
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

std::size_t TurningPoints::findExtremes(Channel& channel, const float* x, std::size_t stride,
                                        std::size_t pairs, double* extremes) const {
    const double line = rules().referenceLine;
    const double h = rules().hysteresis;
    auto [a, extreme, slope, candidate] = channel;
    if (slope == kSlopeUnknown && pairs > 0) slope = slopeSign(a, x[0]);
    std::size_t found = 0;
    // Without branches: whether a pair turns or confirms is hard to foretell.
    for (std::size_t i = 0; i < pairs; ++i) {
        const double b = x[i * stride];
        const int next = slopeSign(a, b);
        const bool maximum = (slope > 0) & (next <= 0) & (a >= line);
        const bool minimum = (slope < 0) & (next >= 0) & (a < line);
        candidate = maximum ? kMaximum : minimum ? kMinimum : candidate;
        extreme = maximum | minimum ? a : extreme;
        const bool isMaximum = candidate == kMaximum;
        const bool isMinimum = candidate == kMinimum;
        const bool confirmed = (isMaximum & (b < extreme - h)) | (isMinimum & (b > extreme + h));
        const bool dropped = (isMaximum & (b > extreme)) | (isMinimum & (b < extreme));
        extremes[found] = extreme;
        found += static_cast<std::size_t>(confirmed & !dropped);
        candidate = confirmed | dropped ? kNone : candidate;
        slope = next;
        a = b;
    }
    channel = {a, extreme, slope, candidate};
    return found;
}

void TurningPoints::reset() {
    // Kept: after a reset the first pair starts at 0.
    std::fill(state_.begin(), state_.end(), Channel{.extreme = rules().referenceLine});
    counts_.clear();
    std::fill(totals_.begin(), totals_.end(), 0U);
}

}  // namespace vynpack
