// "Spitzenwertverfahren3": maxima and minima in separate result columns, each confirmed once the
// signal has moved away by more than the hysteresis.
#pragma once

#include <vector>

#include "classify/class_counts.h"
#include "classify/counting_method.h"
#include "classify/extreme_counting.h"

namespace vynpack {

class SeparatePeaks final : public CountingMethod {
public:
    SeparatePeaks(const CountingRules& rules, int channels);

    // A row holds two values per channel; channel c has its minima at c and its maxima at c + 1.
    void update(std::span<const float> samples, double step, std::span<float> values) override;
    void reset() override;

private:
    // One channel's state between pairs.
    struct Channel {
        double last = 0.0;         // sample
        double lastMaximum = 1e7;  // accepted
        double lastMinimum = -1e7;
        int slope = kSlopeUnknown;
        bool maximumPending = false;
        bool minimumPending = false;
    };

    // How many maxima and minima a search has found.
    struct Found {
        std::size_t maxima = 0;
        std::size_t minima = 0;
    };
    Found findExtremes(Channel& channel, const float* x, std::size_t stride, std::size_t pairs,
                       double* maxima, double* minima) const;
    void writeColumn(std::span<float> values, int column, std::uint32_t total) const;

    bool first_ = true;  // the first block of the run
    std::vector<Channel> state_;
    ClassCounts counts_;                      // 2 columns per channel
    std::vector<std::uint32_t> maximaTotal_;  // per channel
    std::vector<std::uint32_t> minimaTotal_;
    std::vector<double> maxima_;  // found in the samples in work
    std::vector<double> minima_;
};

}  // namespace vynpack
