// "Spitzenwertverfahren3": maxima and minima in separate result columns, each confirmed once the
// signal has moved away by more than the hysteresis.
#pragma once

#include <vector>

#include "blocks/classify/core/extreme_counting.h"
#include "blocks/classify/core/separate_peaks_kernels.h"

namespace vynpack {

class SeparatePeaks final : public ExtremeCounting {
public:
    SeparatePeaks(const CountingRules& rules, int channels);

private:
    void open(int channel, float sample) override;
    bool search(std::size_t group, const LaneRows& rows, double* extremes, double* shifts) override;
    void forget() override { setState(rules().referenceLine, rules().referenceLine); }
    // A row holds two values per channel; channel c has its minima at c and its maxima at c + 1.
    void write(std::span<float> values) const override;

    void setState(double lastMaximum, double lastMinimum);

    std::vector<SeparateLanes> state_;  // per group of channels
};

}  // namespace vynpack
