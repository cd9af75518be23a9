#include "classify/separate_peaks.h"

#include <algorithm>
#include <cmath>

namespace vynpack {

SeparatePeaks::SeparatePeaks(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      state_(static_cast<std::size_t>(channels)),
      counts_(rules.scale, 2 * channels),
      maximaTotal_(state_.size()),
      minimaTotal_(state_.size()),
      maxima_(kPairsInWork),
      minima_(kPairsInWork) {}

void SeparatePeaks::update(std::span<const float> samples, double /*step*/,
                           std::span<float> values) {
    forEachPiece(
        samples, state_.size(), first_, [&](std::size_t c, float x) { state_[c].last = x; },
        [&](std::size_t c, const float* x, std::size_t pairs) {
            const Found found =
                findExtremes(state_[c], x, state_.size(), pairs, maxima_.data(), minima_.data());
            // Kept: the columns overlap; a channel's maxima count into the place of the next
            // channel's minima.
            const int column = static_cast<int>(c);
            minimaTotal_[c] += counts_.add(column, {minima_.data(), found.minima});
            maximaTotal_[c] += counts_.add(column + 1, {maxima_.data(), found.maxima});
        });
    first_ = false;
    for (std::size_t c = 0; c < state_.size(); ++c) {
        const int column = static_cast<int>(c);
        writeColumn(values, column, minimaTotal_[c]);
        writeColumn(values, column + 1, maximaTotal_[c]);
    }
}

void SeparatePeaks::writeColumn(std::span<float> values, int column, std::uint32_t total) const {
    const std::size_t rowLength = 2 * state_.size();
    for (int k = 0; k < classes(); ++k) {
        const std::uint32_t count = counts_.at(k, column);
        values[static_cast<std::size_t>(k) * rowLength + static_cast<std::size_t>(column)] =
            rules().relative ? percentOf(count, total) : static_cast<float>(count);
    }
}

SeparatePeaks::Found SeparatePeaks::findExtremes(Channel& channel, const float* x,
                                                 std::size_t stride, std::size_t pairs,
                                                 double* maxima, double* minima) const {
    const double h = rules().hysteresis;
    auto [a, lastMaximum, lastMinimum, slope, maximumPending, minimumPending] = channel;
    if (slope == kSlopeUnknown && pairs > 0) slope = slopeSign(a, x[0]);
    Found found;
    // Without branches: whether a pair turns or confirms is hard to foretell.
    for (std::size_t i = 0; i < pairs; ++i) {
        const double b = x[i * stride];
        const int next = slopeSign(a, b);
        const bool topTurn = (slope > 0) & (next <= 0);
        const bool bottomTurn = (slope <= 0) & (next > 0);
        const bool tooNear = (topTurn & (std::abs(a - lastMinimum) <= h)) |
                             (bottomTurn & (std::abs(a - lastMaximum) <= h));
        const bool newMaximum = topTurn & !tooNear;
        const bool newMinimum = bottomTurn & !tooNear;
        lastMaximum = newMaximum ? a : lastMaximum;
        lastMinimum = newMinimum ? a : lastMinimum;
        maximumPending = (maximumPending | newMaximum) & !tooNear;
        minimumPending = (minimumPending | newMinimum) & !tooNear;

        const bool countMaximum = maximumPending & (std::abs(b - lastMaximum) > h);
        const bool countMinimum = !countMaximum & minimumPending & (std::abs(b - lastMinimum) > h);
        maxima[found.maxima] = lastMaximum;
        minima[found.minima] = lastMinimum;
        found.maxima += static_cast<std::size_t>(countMaximum);
        found.minima += static_cast<std::size_t>(countMinimum);
        maximumPending &= !countMaximum;
        minimumPending &= !countMinimum;
        slope = next;
        a = b;
    }
    channel = {a, lastMaximum, lastMinimum, slope, maximumPending, minimumPending};
    return found;
}

void SeparatePeaks::reset() {
    // Kept: a run starts with extremes far outside, a reset with both on the reference line.
    std::fill(state_.begin(), state_.end(),
              Channel{.lastMaximum = rules().referenceLine, .lastMinimum = rules().referenceLine});
    counts_.clear();
    std::fill(maximaTotal_.begin(), maximaTotal_.end(), 0U);
    std::fill(minimaTotal_.begin(), minimaTotal_.end(), 0U);
}

}  // namespace vynpack
