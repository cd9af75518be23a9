// "Stichprobe": how many samples lie in a class.
#pragma once

#include <vector>

#include "blocks/classify/core/class_counts.h"
#include "blocks/classify/core/class_finder.h"
#include "blocks/classify/core/klassierung_core.h"

namespace vynpack {

class SampleCount final : public CountingMethod {
public:
    SampleCount(const CountingRules& rules, int channels);

    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    void adapt() override { finder_ = ClassFinder<float>(scale(), true); }
    void countSamples(std::span<const float> samples);
    void countStretch(const float* x, std::size_t frames);
    void countOneChannel(std::size_t count);
    void writeRelative(std::span<float> values);
    void writeAbsolute(std::span<float> values);

    ClassFinder<float> finder_;
    ClassCounts counts_;
    ClassCounts tallies_;  // of one channel's samples in turns, until they join the counts
    ClassCounts written_;  // the counts that stand in the values
    std::vector<std::uint32_t> totals_;   // per channel
    std::vector<std::uint32_t> surplus_;  // of the totals over the counts
    std::vector<std::int32_t> indices_;   // of the samples in work: classes, or nearest limits
};

}  // namespace vynpack
