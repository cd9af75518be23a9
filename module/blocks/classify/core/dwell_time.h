// "Verweildauer": how long the signal, taken as straight lines between samples, stays in a class.
#pragma once

#include <vector>

#include "blocks/classify/core/class_scale.h"
#include "blocks/classify/core/klassierung_core.h"

namespace vynpack {

class DwellTime final : public CountingMethod {
public:
    DwellTime(const CountingRules& rules, int channels);

    // Amounts are times in the unit of `step`.
    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    void adapt() override { limits_ = ClassLimits(scale()); }
    double* sumsOf(std::size_t channel) { return sums_.data() + channel * sumsPerChannel_ + 1; }
    // Of the time in a class: itself, or its percentage.
    double result(double time) const;

    ClassLimits limits_;
    bool first_ = true;          // the first block of the run: its first sample has no predecessor
    double total_ = 0.0;         // the same for all channels
    std::vector<float> last_;    // sample per channel
    std::vector<double> dwell_;  // per channel and class
    std::size_t sumsPerChannel_;
    std::vector<double> sums_;  // the same of the block in work, with the padding of the limits
};

}  // namespace vynpack
