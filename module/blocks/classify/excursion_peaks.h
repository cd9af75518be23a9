// "Spitzenwertverfahren1": one extreme value per excursion away from the reference line and back.
#pragma once

#include <vector>

#include "classify/class_counts.h"
#include "classify/counting_method.h"

namespace vynpack {

class ExcursionPeaks final : public CountingMethod {
public:
    ExcursionPeaks(const CountingRules& rules, int channels);

    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    // One channel's state between pairs.
    struct Channel {
        double last = 0.0;  // sample
        double extreme;     // of the excursion
        bool crossedUpward = false;
        bool crossedDownward = false;
    };

    std::size_t findPeaks(Channel& channel, const float* x, std::size_t stride, std::size_t pairs,
                          double* peaks) const;

    bool first_ = true;  // the first block of the run
    std::vector<Channel> state_;
    ClassCounts counts_;
    std::vector<std::uint32_t> totals_;  // per channel
    std::vector<double> peaks_;          // found in the samples in work
};

}  // namespace vynpack
