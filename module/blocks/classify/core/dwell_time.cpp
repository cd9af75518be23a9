#include "blocks/classify/core/dwell_time.h"

#include <algorithm>
#include <cmath>

#include "blocks/classify/core/dwell_time_kernels.h"
#include "kernels/level.h"

namespace vynpack {

DwellTime::DwellTime(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      limits_(rules.scale),
      last_(static_cast<std::size_t>(channels)),
      dwell_(last_.size() * static_cast<std::size_t>(rules.scale.number)),
      sumsPerChannel_(1 + static_cast<std::size_t>(rules.scale.number) + ClassLimits::kPadding),
      sums_(last_.size() * sumsPerChannel_) {}

void DwellTime::update(std::span<const float> samples, double step, std::span<float> values) {
    const std::size_t width = last_.size();
    const auto n = static_cast<std::size_t>(classes());
    const std::size_t all = samplesPerChannel(samples);
    const std::size_t pairs = first_ && all > 0 ? all - 1 : all;
    for (std::size_t i = 0; i < pairs; ++i)
        total_ += step;
    const DwellRules dwellRules{.limits = limits_.data(),
                                .n = classes(),
                                .begin = scale().begin,
                                .end = scale().end,
                                .classesPerUnit = 1.0 / scale().width(),
                                .step = std::abs(step)};
    std::ranges::fill(sums_, 0.0);
    forPairs(samples, last_, first_, [&](std::size_t c, const SamplePairs& taken) {
        if (limits_.rising()) vyn::kernelsAt<DwellKernels>().add(taken, dwellRules, sumsOf(c));
    });
    for (std::size_t c = 0; c < width; ++c) {
        const double* sums = sumsOf(c);
        double* dwell = &dwell_[c * n];
        for (std::size_t k = 0; k < n; ++k)
            dwell[k] += sums[k];
    }

    for (std::size_t c = 0; c < width; ++c) {
        const double* dwell = &dwell_[c * n];
        for (std::size_t k = 0; k < n; ++k)
            values[k * width + c] = static_cast<float>(result(dwell[k]));
    }
}

double DwellTime::result(double time) const {
    if (!rules().relative) return time;
    return time == 0.0 ? 0.0 : 100.0 * time / total_;
}

void DwellTime::reset() {
    total_ = 0.0;
    // Kept: after a reset the line to the next sample starts at 0.
    std::fill(last_.begin(), last_.end(), 0.0F);
    std::fill(dwell_.begin(), dwell_.end(), 0.0);
}

}  // namespace vynpack
