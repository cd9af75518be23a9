#include "classify/dwell_time.h"

#include <algorithm>
#include <cmath>

namespace vynpack {
namespace {

// The time that the line from a to b, `step` long, spends between the limits. The cases are tested
// in this order; the first that holds decides.
double timeInClass(double a, double b, double lower, double upper, double step) {
    const bool bothInside = lower <= a && a <= upper && lower <= b && b <= upper;
    if (bothInside) return a == b && b == upper ? 0.0 : step;
    const bool endsInside = lower < b && b < upper;
    if (endsInside && a < lower) return step * (b - lower) / (b - a);
    if (endsInside && a > upper) return step * (upper - b) / (a - b);
    const bool crosses = (b >= upper && a <= lower) || (b <= lower && a >= upper);
    if (crosses) return step * (upper - lower) / (b - a);
    const bool startsInside = lower < a && a < upper;
    if (b > upper && startsInside) return step * (upper - a) / (b - a);
    if (b < lower && startsInside) return step * (a - lower) / (a - b);
    return 0.0;
}

}  // namespace

DwellTime::DwellTime(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      limits_(rules.scale),
      last_(static_cast<std::size_t>(channels)),
      dwell_(last_.size() * static_cast<std::size_t>(rules.scale.number)),
      sums_(static_cast<std::size_t>(rules.scale.number)),
      wholes_(sums_.size()) {}

void DwellTime::update(std::span<const float> samples, double step, std::span<float> values) {
    const std::size_t width = last_.size();
    const std::size_t all = samplesPerChannel(samples);
    const std::size_t skipped = first_ ? std::min<std::size_t>(1, all) : 0;
    const std::size_t pairs = all - skipped;
    first_ = false;
    for (std::size_t i = 0; i < pairs; ++i)
        total_ += step;
    for (int k = 0; k < classes(); ++k)
        wholes_[static_cast<std::size_t>(k)] = step * (limits_[k + 1] - limits_[k]);

    for (std::size_t c = 0; c < width && all > 0; ++c) {
        const float* x = samples.data() + c;
        std::fill(sums_.begin(), sums_.end(), 0.0);
        addPairs(x + skipped * width, width, pairs, skipped != 0 ? x[0] : last_[c], step,
                 sums_.data());
        last_[c] = x[(all - 1) * width];
        double* dwell = &dwell_[c * sums_.size()];
        for (std::size_t k = 0; k < sums_.size(); ++k)
            dwell[k] += sums_[k];
    }

    for (std::size_t c = 0; c < width; ++c) {
        const double* dwell = &dwell_[c * sums_.size()];
        for (std::size_t k = 0; k < sums_.size(); ++k) {
            const double time = dwell[k];
            values[k * width + c] = static_cast<float>(!rules().relative ? time
                                                       : time == 0.0     ? 0.0
                                                                         : 100.0 * time / total_);
        }
    }
}

void DwellTime::addPairs(const float* x, std::size_t stride, std::size_t pairs, double a,
                         double step, double* sums) const {
    const double begin = scale().begin;
    const double end = scale().end;
    const double wholeStep = std::abs(step);
    if (!limits_.rising()) return;  // no class has a height
    int k = std::isnan(a) ? -1 : limits_.atOrBelow(a);
    const int n = classes();
    for (std::size_t i = 0; i < pairs;) {
        // As long as the signal stays strictly inside one class, whole steps add up there.
        if (k >= 0 && k < n && limits_[k] < a && a < limits_[k + 1]) {
            const double lower = limits_[k];
            const double upper = limits_[k + 1];
            double sum = sums[k];
            for (; i < pairs; ++i) {
                const double b = x[i * stride];
                if (!(lower < b && b < upper && begin <= b && b <= end)) break;
                sum += wholeStep;
                a = b;
            }
            sums[k] = sum;
            if (i == pairs) return;
        }
        const double b = x[i++ * stride];
        const int classOfB = std::isnan(b) ? -1 : limits_.atOrBelow(b);
        if (begin <= b && b <= end && !std::isnan(a)) addMovingPair(a, b, k, classOfB, step, sums);
        a = b;
        k = classOfB;
    }
}

void DwellTime::addMovingPair(double a, double b, int classOfA, int classOfB, double step,
                              double* sums) const {
    const int lowest = std::max(0, std::min(classOfA, classOfB));
    const int highest = std::min(classes() - 1, std::max(classOfA, classOfB));
    if (lowest > highest) return;
    // Only the classes at both ends can be entered or left; those between are crossed.
    sums[lowest] += std::abs(timeInClass(a, b, limits_[lowest], limits_[lowest + 1], step));
    if (lowest == highest) return;
    const double rise = b - a;
    for (int k = lowest + 1; k < highest; ++k)
        sums[k] += std::abs(wholes_[static_cast<std::size_t>(k)] / rise);
    sums[highest] += std::abs(timeInClass(a, b, limits_[highest], limits_[highest + 1], step));
}

void DwellTime::reset() {
    total_ = 0.0;
    // Kept: after a reset the line to the next sample starts at 0.
    std::fill(last_.begin(), last_.end(), 0.0);
    std::fill(dwell_.begin(), dwell_.end(), 0.0);
}

}  // namespace vynpack
