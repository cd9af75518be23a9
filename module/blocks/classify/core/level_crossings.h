// "Klassendurchgang": how often the signal crosses a class's lower limit, upwards above the
// reference line and downwards below it. A counted class is disarmed until the signal has gone
// back by the hysteresis, or on by a class width.
#pragma once

#include <cstdint>
#include <vector>

#include "blocks/classify/core/klassierung_core.h"
#include "blocks/classify/core/level_crossings_kernels.h"

namespace vynpack {

class LevelCrossings final : public CountingMethod {
public:
    LevelCrossings(const CountingRules& rules, int channels);

    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    void adapt() override;
    bool first_ = true;                     // the first block of the run
    std::vector<float> last_;               // sample per channel
    std::vector<CrossingClasses> fresh_;    // one channel's classes before any sample
    std::vector<CrossingClasses> classes_;  // of all channels, with the crossings of the block
    std::vector<std::uint32_t> counts_;     // of all blocks, per channel and class
    std::vector<std::uint32_t> totals_;     // per channel
};

}  // namespace vynpack
