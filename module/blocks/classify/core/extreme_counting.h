// What the methods that count extreme values have in common: they differ in how they find them.
#pragma once

#include <vector>

#include "blocks/classify/core/class_counts.h"
#include "blocks/classify/core/class_finder.h"
#include "blocks/classify/core/klassierung_core.h"
#include "numerics/lane_rows.h"

namespace vynpack {

class ExtremeCounting : public CountingMethod {
public:
    void update(std::span<const float> samples, double step, std::span<float> values) final;
    void reset() final;

protected:
    // `columns` of counts per channel.
    ExtremeCounting(const CountingRules& rules, int channels, int columns);

    // The first sample of a run opens no pair: it is the last one of the next.
    virtual void open(int channel, float sample) = 0;
    // Finds and counts the extremes of that many frames of all channels: by `search`, group by
    // group, unless a method goes channel by channel.
    virtual void count(const float* x, std::size_t frames);
    // Finds the extremes that count in the rows of a group of channels: one value per frame and
    // lane, kNoExtreme where there is none; `shifts` chooses the column of counts, 0 for the first.
    // Returns false when it has left the shifts alone.
    virtual bool search(std::size_t /*group*/, const LaneRows& /*rows*/, double* /*extremes*/,
                        double* /*shifts*/) {
        return false;
    }
    // Back to the state before the first pair, as a reset leaves it.
    virtual void forget() = 0;
    // Writes the results of the counts.
    virtual void write(std::span<float> values) const;

    std::size_t groups() const;
    // Room for as many extremes of a channel, one more than it can have in so many frames, and what
    // counts the first ones there.
    static constexpr std::size_t kMostExtremes = 1023;
    double* extremes() { return extremes_.data(); }
    void countExtremes(std::size_t channel, std::size_t number);
    const ClassCounts& counts() const { return counts_; }
    float result(std::uint32_t count, std::uint32_t total) const {
        return rules().relative ? percentOf(count, total) : static_cast<float>(count);
    }

private:
    void adapt() override { finder_ = ClassFinder<double>(scale(), false); }
    void take(std::size_t group, const float* x, std::size_t frames);

    bool first_ = true;  // the first block of the run
    int columns_;
    ClassFinder<double> finder_;
    ClassCounts counts_;
    // Of the samples in work:
    std::vector<float> padded_;
    std::vector<double> extremes_;
    std::vector<double> shifts_;
    std::vector<std::int32_t> indices_;
};

}  // namespace vynpack
