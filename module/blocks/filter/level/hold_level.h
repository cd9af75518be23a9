// The displayed level: it follows the signal, or, with impulse weighting, holds and falls slowly.
#pragma once

#include <cmath>
#include <cstdint>

#include "blocks/filter/level/level_bins.h"

namespace vynpack {

// Falls by a fixed step per ratio taken and rises to the ratio's level when that is higher. The
// level is what the logarithm of every ratio and every subtraction would give, to the last bit, but
// both are made up for only when the level is asked for: meanwhile the decision is made between
// ratios, and by the level itself where they come too close.
class HoldLevel {
public:
    explicit HoldLevel(double fallPerRatio)
        : fall_(fallPerRatio), factor_(std::pow(10.0, -fallPerRatio / 10.0)) {}

    // Becomes the level of the ratio.
    void set(double ratio) {
        ratio_ = estimate_ = ratio;
        fallsDue_ = 0;
        logarithmDue_ = true;
    }

    // Falls, then rises to the ratio's level if that is higher.
    void hold(double ratio) {
        estimate_ *= factor_;
        ++fallsDue_;
        if (ratio > estimate_ * (1.0 + kDoubt) && estimate_ > kSmallest) {
            set(ratio);
        } else if (!(ratio < estimate_ * (1.0 - kDoubt)) || fallsDue_ >= kMostFallsDue ||
                   estimate_ <= kSmallest) {
            *this = decided(*this, ratio);
        }
    }

    // In dB.
    double level() {
        if (logarithmDue_) level_ = levelOf(ratio_);
        logarithmDue_ = false;
        if (fallsDue_ == 0) return level_;
        for (; fallsDue_ > 0; --fallsDue_)
            level_ -= fall_;
        estimate_ = std::pow(10.0, level_ / 10.0);
        return level_;
    }

private:
    // The estimate is off by the rounding of its products and of the level's subtractions: with at
    // most 2^16 of each, by less than 4e-9 of itself for levels up to 3000 dB.
    static constexpr double kDoubt = 1e-8;
    static constexpr std::uint32_t kMostFallsDue = 1U << 16;
    static constexpr double kSmallest = 1e-290;

    // By the levels themselves. On a copy, so that a loop of hold() keeps its level in registers.
    [[gnu::noinline]] static HoldLevel decided(HoldLevel held, double ratio) {
        if (levelOf(ratio) > held.level()) held.set(ratio);
        return held;
    }

    double fall_;    // dB
    double factor_;  // the same, of the ratio
    double level_ = 0.0;
    double ratio_ = 1.0;     // whose level it is, before the falls that are due
    double estimate_ = 1.0;  // the ratio after them
    std::uint32_t fallsDue_ = 0;
    bool logarithmDue_ = false;
};

}  // namespace vynpack
