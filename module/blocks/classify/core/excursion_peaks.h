// "Spitzenwertverfahren1": one extreme value per excursion away from the reference line and back.
#pragma once

#include <vector>

#include "blocks/classify/core/excursion_peaks_kernels.h"
#include "blocks/classify/core/extreme_counting.h"

namespace vynpack {

class ExcursionPeaks final : public ExtremeCounting {
public:
    ExcursionPeaks(const CountingRules& rules, int channels);

private:
    void open(int channel, float sample) override;
    bool search(std::size_t group, const LaneRows& rows, double* extremes, double* shifts) override;
    void forget() override;

    std::vector<ExcursionLanes> state_;  // per group of channels
};

}  // namespace vynpack
