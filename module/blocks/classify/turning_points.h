// "spitzenwertverfahren2": turning points, maxima above and minima below the reference line, each
// confirmed once the signal has retreated by more than the hysteresis.
#pragma once

#include <vector>

#include "classify/class_counts.h"
#include "classify/counting_method.h"
#include "classify/extreme_counting.h"

namespace vynpack {

class TurningPoints final : public CountingMethod {
public:
    TurningPoints(const CountingRules& rules, int channels);

    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    enum Candidate { kMinimum = -1, kNone = 0, kMaximum = 1 };

    // One channel's state between pairs. A confirmed candidate is counted in the same pair, so
    // that no confirmation waits from pair to pair.
    struct Channel {
        double last = 0.0;  // sample
        double extreme;     // the candidate
        int slope = kSlopeUnknown;
        int candidate = kNone;
    };

    std::size_t findExtremes(Channel& channel, const float* x, std::size_t stride,
                             std::size_t pairs, double* extremes) const;

    bool first_ = true;  // the first block of the run
    std::vector<Channel> state_;
    ClassCounts counts_;
    std::vector<std::uint32_t> totals_;  // per channel
    std::vector<double> extremes_;       // found in the samples in work
};

}  // namespace vynpack
