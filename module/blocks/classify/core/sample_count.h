// "Stichprobe": how many samples lie in a class.
#pragma once

#include <vector>

#include "blocks/classify/core/class_counts.h"
#include "blocks/classify/core/klassierung_core.h"

namespace vynpack {

class SampleCount final : public CountingMethod {
public:
    SampleCount(const CountingRules& rules, int channels);

    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    void countSamples(std::span<const float> samples);
    void writeRelative(std::span<float> values);
    void writeAbsolute(std::span<float> values);

    ClassCounts counts_;
    ClassCounts written_;                 // the counts that stand in the values
    std::vector<std::uint32_t> totals_;   // per channel
    std::vector<std::uint32_t> surplus_;  // of the totals over the counts
    std::vector<std::int32_t> indices_;   // of the samples in work
};

}  // namespace vynpack
