// "spitzenwertverfahren2": turning points, maxima above and minima below the reference line, each
// confirmed once the signal has retreated by more than the hysteresis. A confirmed candidate counts
// in the same pair, so that no confirmation waits from pair to pair.
#pragma once

#include <vector>

#include "blocks/classify/core/extreme_counting.h"
#include "blocks/classify/core/turning_points_kernels.h"

namespace vynpack {

class TurningPoints final : public ExtremeCounting {
public:
    TurningPoints(const CountingRules& rules, int channels);

private:
    void open(int channel, float sample) override;
    void count(const float* x, std::size_t frames) override;
    void forget() override;

    std::vector<TurningState> state_;  // per channel
};

}  // namespace vynpack
