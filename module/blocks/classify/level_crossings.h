// "Klassendurchgang": how often the signal crosses a class's lower limit, upwards above the
// reference line and downwards below it. A counted class is disarmed until the signal has gone
// back by the hysteresis, or on by a class width.
#pragma once

#include <cstdint>
#include <vector>

#include "classify/class_scale.h"
#include "classify/counting_method.h"

namespace vynpack {

class LevelCrossings final : public CountingMethod {
public:
    LevelCrossings(const CountingRules& rules, int channels);

    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    // When a class may count again, beside its limit.
    struct Rearming {
        double back;    // the signal has returned beyond this value
        double onward;  // or gone on beyond this one
    };

    // One channel's state between pairs.
    struct Channel {
        double last = 0.0;  // sample
        // While the signal stays strictly between these, no class counts and none is re-armed.
        double quietFrom = 0.0;
        double quietTo = 0.0;
        // The classes from .. to - 1 contain all disarmed ones.
        int disarmedFrom = 0;
        int disarmedTo = 0;
    };

    bool countsUpwards(int k) const { return limits_[k] >= rules().referenceLine; }
    void takePairs(Channel& channel, const float* x, std::size_t stride, std::size_t pairs,
                   std::uint8_t* armed, std::uint32_t* crossings);
    void takePair(Channel& channel, double a, double b, std::uint8_t* armed,
                  std::uint32_t* crossings) const;
    void findQuietZone(Channel& channel, double b, const std::uint8_t* armed) const;

    ClassLimits limits_;
    std::vector<Rearming> rearming_;     // per class
    bool first_ = true;                  // the first block of the run
    std::vector<Channel> state_;         // per channel
    std::vector<std::uint8_t> armed_;    // per channel and class
    std::vector<std::uint32_t> block_;   // crossings of the block, per channel and class
    std::vector<std::uint32_t> counts_;  // of all blocks, per channel and class
    std::vector<std::uint32_t> totals_;  // per channel
};

}  // namespace vynpack
