// The three ways of averaging a stream of data blocks, each with the state that it carries from one
// block to the next.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/stats/core/statistik_core.h"
#include "kernels/aligned_array.h"
#include "kernels/level.h"

namespace vynpack {

// The mean of every `width` consecutive samples of a channel. Groups span data blocks.
class GroupAverage {
public:
    explicit GroupAverage(vyn::KernelLevel level = vyn::kernelLevel()) : level_(level) {}

    // Starts a run.
    void start(int channels);

    // The values, over all channels, that a block with `values` values will give.
    std::size_t outputCount(std::size_t values, std::size_t width) const;

    // Output values that belong to no group are 0. `width` is at least 1; `out` has outputCount
    // values.
    void process(SampleRows in, std::size_t width, std::span<float> out);

private:
    vyn::KernelLevel level_;
    std::vector<double> carriedSum_;  // per channel, of the samples of an unfinished group
    std::size_t carriedRows_ = 0;
    std::vector<double> sums_;
};

// The mean of the last `width` samples of a channel, or of all samples where the run has not had as
// many yet. Windows reach back into the blocks before. There is no running sum: a sample that has
// left the window leaves no trace. The sum of a full window is a tree of halves, in an order that
// its width alone decides (AveragingKernels::windowMeans).
class MovingAverage {
public:
    explicit MovingAverage(vyn::KernelLevel level = vyn::kernelLevel()) : level_(level) {}

    // Starts a run.
    void start() noexcept { past_.clear(); }

    // `out` has as many values as `in`; those behind the last whole row are 0. `width` is at least
    // 1 and may differ from that of the block before.
    void process(SampleRows in, std::size_t width, std::span<float> out);

private:
    void growingMeans(std::span<const float> x, std::size_t channels, std::span<float> out);
    void fullMeans(std::span<const float> x, std::size_t channels, std::size_t width,
                   std::size_t first, std::span<float> out);
    void fullMeansByGroups(std::span<const float> x, std::size_t channels, std::size_t group,
                           std::size_t width, std::size_t from, std::span<float> out);
    void prepareWork(std::size_t size);
    void remember(std::span<const float> in, std::size_t most);

    vyn::KernelLevel level_;
    std::vector<float> past_;  // the last samples of every channel, interleaved
    std::vector<double> sums_;
    vyn::AlignedArray<double> work_;  // the kernel's
    std::vector<float> gathered_;
    std::vector<float> means_;
};

// The weighted mean of successive data blocks, value by value. The average so far has the weight W,
// which becomes (W + 1) times the factor with each block.
class BlockAverage {
public:
    explicit BlockAverage(vyn::KernelLevel level = vyn::kernelLevel()) : level_(level) {}

    // Takes the block into the average; a copy of the average goes to `out` unless that is empty.
    // Values behind the last whole row count for nothing and are 0 in the average. A block of
    // another size starts a new average.
    void process(SampleRows in, double factor, std::span<float> out);
    void reset() noexcept;

    std::int64_t blocks() const noexcept { return blocks_; }  // since the last reset
    double weight() const noexcept { return weight_; }

private:
    void startAnew(std::span<const float> values);

    vyn::KernelLevel level_;
    vyn::AlignedArray<float> memory_;
    std::span<float> average_;  // in it
    std::int64_t blocks_ = 0;
    double weight_ = 0.0;
};

}  // namespace vynpack
