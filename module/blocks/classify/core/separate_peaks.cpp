#include "blocks/classify/core/separate_peaks.h"

#include <algorithm>
#include <cstdlib>

#include "kernels/level.h"

namespace vynpack {
namespace {

// The counts of a channel.
int minimaOf(int channel) { return 2 * channel; }
int maximaOf(int channel) { return 2 * channel + 1; }

}  // namespace

SeparatePeaks::SeparatePeaks(const CountingRules& rules, int channels)
    : ExtremeCounting(rules, channels, 2), state_(groups()) {
    // Kept: a run starts with extremes far outside, a reset with both on the reference line.
    setState(1e7, -1e7);
}

void SeparatePeaks::open(int channel, float sample) {
    const auto [group, lane] = std::div(channel, kGroupLanes);
    state_[static_cast<std::size_t>(group)].last[lane] = sample;
}

bool SeparatePeaks::search(std::size_t group, const LaneRows& rows, double* extremes,
                           double* shifts) {
    vyn::kernelsAt<SeparateKernels>().find(rows, rules().hysteresis,
                                           static_cast<double>(counts().places()), &state_[group],
                                           extremes, shifts);
    return true;
}

void SeparatePeaks::write(std::span<float> values) const {
    const auto rowLength = static_cast<std::size_t>(2 * channels());
    const auto put = [&](int column, int k, std::uint32_t count, std::uint32_t total) {
        values[static_cast<std::size_t>(k) * rowLength + static_cast<std::size_t>(column)] =
            result(count, total);
    };
    // Kept: the columns overlap; a channel's maxima share the place of the next channel's minima,
    // and the percentage there is the next channel's.
    for (int c = 0; c < channels(); ++c) {
        const std::uint32_t minima = counts().total(minimaOf(c));
        const std::uint32_t maxima = counts().total(maximaOf(c));
        for (int k = 0; k < classes(); ++k) {
            const std::uint32_t before = c > 0 ? counts().at(k, maximaOf(c - 1)) : 0U;
            put(c, k, counts().at(k, minimaOf(c)) + before, minima);
            put(c + 1, k, counts().at(k, maximaOf(c)), maxima);
        }
    }
}

void SeparatePeaks::setState(double lastMaximum, double lastMinimum) {
    // Kept: after a reset the first pair starts at 0.
    SeparateLanes fresh{};
    std::ranges::fill(fresh.maximum, lastMaximum);
    std::ranges::fill(fresh.minimum, lastMinimum);
    std::ranges::fill(fresh.slope, kSlopeUnknown);
    std::ranges::fill(state_, fresh);
}

}  // namespace vynpack
