// Walks over the samples of a data block that several statistical measures share. A walk serves all
// channels at once and is made when the first measure asks for one of its results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/stats/core/statistic_kernels.h"
#include "kernels/level.h"

namespace vynpack {

// Interleaved samples: sample k of channel c is values[k * channels + c]. Values behind the last
// whole row do not count.
struct SampleRows {
    SampleRows() = default;
    SampleRows(std::span<const float> samples, int channelCount)
        : values(samples),
          channels(channelCount),
          rows_(static_cast<int>(samples.size()) / channelCount) {}

    std::span<const float> values;
    int channels = 1;  // at least 1

    int rows() const { return rows_; }

private:
    int rows_ = 0;  // asked for many times: a division each
};

// The largest or smallest sample of a channel.
struct Extreme {
    bool found = false;  // false without samples, and when none can be ranked (NaN, the wrong
                         // infinity)
    float value = 0.0F;
    std::int32_t index = 0;  // of the first sample with this value
};

class SamplePasses {
public:
    explicit SamplePasses(vyn::KernelLevel level = vyn::kernelLevel()) : level_(level) {}

    // The next question is about another data block.
    void forget() noexcept {
        if (made_ != 0) madeBefore_ = made_;
        made_ = 0;
    }

    // Σx and Σx², in sample order and in double; the squares are formed in single precision.
    double sum(SampleRows block, int channel);
    double sumOfSquares(SampleRows block, int channel);
    // Σ 1/x, the quotients in single precision; 0 with a sample that is 0.
    double sumOfReciprocals(SampleRows block, int channel);
    // Π x^(1/n) over the n samples; 0 with a sample that is not above 0.
    double productOfRoots(SampleRows block, int channel);
    Extreme maximum(SampleRows block, int channel);
    Extreme minimum(SampleRows block, int channel);
    // Σ(x − m)² and Σ|x − m| with m = Σx / n, in double.
    double sumOfSquaredDeviations(SampleRows block, int channel);
    double sumOfDeviations(SampleRows block, int channel);

private:
    enum Pass : unsigned { kSums = 1, kMeanTerms = 2, kExtremes = 4, kDeviations = 8 };

    // True the first time it is asked for this block.
    bool isDue(Pass pass, SampleRows block);
    // Makes these passes and, in the same walk, those of sums and mean terms (of one channel with
    // the deviations) that the block before needed as well.
    void makeTerms(Pass pass, SampleRows block);
    void addTerms(unsigned due, SampleRows block);
    // Of one channel, the deviations included.
    void addAllOfOne(SampleRows block);
    StatisticSums sums() noexcept;
    void finishMeanTerms(SampleRows block);
    void makeExtremes(SampleRows block);
    void findExtremesOfOne(SampleRows block);
    void findExtremes(SampleRows block, std::size_t firstRow, std::size_t rows, std::size_t fold);
    void makeDeviations(SampleRows block);
    void startDeviations(SampleRows block);

    vyn::KernelLevel level_;
    unsigned made_ = 0;
    unsigned madeBefore_ = 0;  // for the block before
    SampleRows block_;
    std::vector<double> sum_, squares_;
    std::vector<double> reciprocals_, mantissas_;  // in the end: the geometric mean
    std::vector<std::int64_t> exponents_;
    std::vector<float> lowest_, highest_;
    std::vector<Extreme> maximum_, minimum_;
    std::vector<float> high_, low_;  // of the columns of wide rows, and where they were found
    std::vector<std::int32_t> highSpan_, lowSpan_;
    std::vector<double> mean_, squaredDeviations_, deviations_;
};

}  // namespace vynpack
