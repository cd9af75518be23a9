#include "classify/level_crossings.h"

#include <algorithm>
#include <limits>

namespace vynpack {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

LevelCrossings::LevelCrossings(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      limits_(rules.scale),
      rearming_(static_cast<std::size_t>(rules.scale.number)),
      state_(static_cast<std::size_t>(channels)),
      armed_(state_.size() * rearming_.size(), 1),
      block_(armed_.size()),
      counts_(armed_.size()),
      totals_(state_.size()) {
    const double width = scale().width();
    const double h = rules.hysteresis;
    for (int k = 0; k < classes(); ++k) {
        const double limit = limits_[k];
        Rearming& rearming = rearming_[static_cast<std::size_t>(k)];
        if (countsUpwards(k)) {
            // Kept: counting amounts, the last class is re-armed by going back alone.
            const bool backOnly = !rules.relative && k == classes() - 1;
            rearming = {limit - h,
                        backOnly ? std::numeric_limits<double>::quiet_NaN() : limit + width};
        } else {
            rearming = {limit + h, limit - width};
        }
    }
}

void LevelCrossings::update(std::span<const float> samples, double /*step*/,
                            std::span<float> values) {
    const std::size_t width = state_.size();
    const std::size_t n = rearming_.size();
    const std::size_t all = samplesPerChannel(samples);
    const std::size_t skipped = first_ ? std::min<std::size_t>(1, all) : 0;
    first_ = false;
    std::fill(block_.begin(), block_.end(), 0U);
    for (std::size_t c = 0; c < width; ++c) {
        const float* x = samples.data() + c;
        if (skipped != 0) state_[c].last = x[0];
        takePairs(state_[c], x + skipped * width, width, all - skipped, &armed_[c * n],
                  &block_[c * n]);
    }
    if (!rules().relative) {
        for (std::size_t c = 0; c < width; ++c) {
            for (std::size_t k = 0; k < n; ++k)
                values[k * width + c] += static_cast<float>(block_[c * n + k]);
        }
        return;
    }
    for (std::size_t c = 0; c < width; ++c) {
        for (std::size_t k = 0; k < n; ++k) {
            counts_[c * n + k] += block_[c * n + k];
            totals_[c] += block_[c * n + k];
        }
        for (std::size_t k = 0; k < n; ++k) {
            const std::uint32_t count = counts_[c * n + k];
            values[k * width + c] =
                count == 0 || totals_[c] == 0
                    ? 0.0F
                    : static_cast<float>(100.0 * static_cast<double>(count) / totals_[c]);
        }
    }
}

void LevelCrossings::takePairs(Channel& channel, const float* x, std::size_t stride,
                               std::size_t pairs, std::uint8_t* armed, std::uint32_t* crossings) {
    double a = channel.last;
    double from = channel.quietFrom;
    double to = channel.quietTo;
    for (std::size_t i = 0; i < pairs; ++i) {
        const double b = x[i * stride];
        if (!(from < b && b < to)) {
            takePair(channel, a, b, armed, crossings);
            findQuietZone(channel, b, armed);
            from = channel.quietFrom;
            to = channel.quietTo;
        }
        a = b;
    }
    channel.last = a;
}

void LevelCrossings::takePair(Channel& channel, double a, double b, std::uint8_t* armed,
                              std::uint32_t* crossings) const {
    // Only classes whose limit lies between the samples can count, only disarmed ones be re-armed.
    int from = 0;
    int to = classes();
    if (limits_.rising() && a == a && b == b) {
        const double low = std::min(a, b);
        from = limits_.atOrBelow(low);
        while (from > 0 && limits_[from - 1] == low)
            --from;
        from = std::max(from, 0);
        to = std::min(limits_.atOrBelow(std::max(a, b)) + 1, classes());
        if (channel.disarmedFrom < channel.disarmedTo) {
            from = std::min(from, channel.disarmedFrom);
            to = std::max(to, channel.disarmedTo);
        }
    }
    int disarmedFrom = classes();
    int disarmedTo = 0;
    for (int k = from; k < to; ++k) {
        const double limit = limits_[k];
        const Rearming& rearming = rearming_[static_cast<std::size_t>(k)];
        // The crossing is counted first; the same pair may re-arm the class.
        if (countsUpwards(k)) {
            if (b >= limit && limit > a && armed[k] != 0 && b - a > 0.0) {
                ++crossings[k];
                armed[k] = 0;
            }
            if (b <= rearming.back || b >= rearming.onward) armed[k] = 1;
        } else {
            if (limit >= b && a > limit && armed[k] != 0 && b - a < 0.0) {
                ++crossings[k];
                armed[k] = 0;
            }
            if (b >= rearming.back || b <= rearming.onward) armed[k] = 1;
        }
        if (armed[k] == 0) {
            disarmedFrom = std::min(disarmedFrom, k);
            disarmedTo = k + 1;
        }
    }
    channel.disarmedFrom = disarmedFrom;
    channel.disarmedTo = disarmedTo;
}

void LevelCrossings::findQuietZone(Channel& channel, double b, const std::uint8_t* armed) const {
    channel.quietFrom = 0.0;
    channel.quietTo = 0.0;
    if (!limits_.rising() || b != b) return;
    const int k = limits_.atOrBelow(b);
    double from = k >= 0 ? limits_[k] : -kInfinity;
    double to = k < classes() ? limits_[k + 1] : kInfinity;
    for (int d = channel.disarmedFrom; d < channel.disarmedTo; ++d) {
        if (armed[d] != 0) continue;
        const Rearming& rearming = rearming_[static_cast<std::size_t>(d)];
        if (countsUpwards(d)) {
            from = std::max(from, rearming.back);
            if (rearming.onward == rearming.onward) to = std::min(to, rearming.onward);
        } else {
            to = std::min(to, rearming.back);
            from = std::max(from, rearming.onward);
        }
    }
    channel.quietFrom = from;
    channel.quietTo = to;
}

void LevelCrossings::reset() {
    // Kept: after a reset the first pair starts at 0.
    for (Channel& channel : state_)
        channel = Channel{};
    std::fill(armed_.begin(), armed_.end(), std::uint8_t{1});
    std::fill(counts_.begin(), counts_.end(), 0U);
    std::fill(totals_.begin(), totals_.end(), 0U);
}

}  // namespace vynpack
