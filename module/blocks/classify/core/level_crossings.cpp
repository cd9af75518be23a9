#include "blocks/classify/core/level_crossings.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernels/level.h"

namespace vynpack {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr auto kTogether = static_cast<std::size_t>(kClassesTogether);

// The sample next to a value that is not below it, or not above it: a sample compares with it as
// with the value.
float notBelow(double value) {
    const auto sample = static_cast<float>(value);
    return sample < value ? std::nextafter(sample, kInfinity) : sample;
}
float notAbove(double value) { return -notBelow(-value); }

void addClass(CrossingClasses& group, bool upwards, double limit, double back, double onward) {
    const double sign = upwards ? 1.0 : -1.0;
    const int place = group.count++;
    group.sign[place] = static_cast<float>(sign);
    group.limit[place] = notBelow(sign * limit);
    group.back[place] = notAbove(sign * back);
    group.onward[place] = notBelow(sign * onward);
    group.armed[place] = -1;
    group.lowest = std::min(group.lowest, notAbove(limit));
    group.highest = std::max(group.highest, notBelow(limit));
}

// One channel's classes, all armed.
std::vector<CrossingClasses> classesOf(const CountingRules& rules) {
    const auto n = static_cast<std::size_t>(rules.scale.number);
    std::vector<CrossingClasses> groups((n + kTogether - 1) / kTogether);
    for (CrossingClasses& group : groups) {
        group.lowest = kInfinity;
        group.highest = -kInfinity;
    }
    const double width = rules.scale.width();
    const double h = rules.hysteresis;
    for (std::size_t k = 0; k < n; ++k) {
        CrossingClasses& group = groups[k / kTogether];
        const double limit = rules.scale.lowerLimit(static_cast<int>(k));
        if (limit >= rules.referenceLine) {
            // Kept: counting amounts, the last class is re-armed by going back alone.
            const bool backOnly = !rules.relative && k + 1 == n;
            addClass(group, true, limit, limit - h, backOnly ? kNotANumber : limit + width);
        } else {
            addClass(group, false, limit, limit + h, limit - width);
        }
    }
    return groups;
}

}  // namespace

LevelCrossings::LevelCrossings(const CountingRules& rules, int channels)
    : CountingMethod(rules, channels),
      last_(static_cast<std::size_t>(channels)),
      fresh_(classesOf(rules)),
      counts_(last_.size() * static_cast<std::size_t>(rules.scale.number)),
      totals_(last_.size()) {
    for (std::size_t c = 0; c < last_.size(); ++c)
        classes_.insert(classes_.end(), fresh_.begin(), fresh_.end());
}

// New limits; which classes are armed stays as it was.
void LevelCrossings::adapt() {
    fresh_ = classesOf(rules());
    for (std::size_t i = 0; i < classes_.size(); ++i) {
        CrossingClasses renewed = fresh_[i % fresh_.size()];
        std::ranges::copy(classes_[i].armed, renewed.armed);
        classes_[i] = renewed;
    }
}

void LevelCrossings::update(std::span<const float> samples, double /*step*/,
                            std::span<float> values) {
    const std::size_t width = last_.size();
    const auto n = static_cast<std::size_t>(classes());
    for (CrossingClasses& group : classes_)
        std::ranges::fill(group.crossings, 0U);
    forPairs(samples, last_, first_, [&](std::size_t c, const SamplePairs& pairs) {
        vyn::kernelsAt<CrossingKernels>().count(pairs, &classes_[c * fresh_.size()], fresh_.size());
    });
    const auto crossings = [&](std::size_t c, std::size_t k) {
        return classes_[c * fresh_.size() + k / kTogether].crossings[k % kTogether];
    };
    if (!rules().relative) {
        for (std::size_t c = 0; c < width; ++c) {
            for (std::size_t k = 0; k < n; ++k)
                values[k * width + c] += static_cast<float>(crossings(c, k));
        }
        return;
    }
    for (std::size_t c = 0; c < width; ++c) {
        for (std::size_t k = 0; k < n; ++k) {
            counts_[c * n + k] += crossings(c, k);
            totals_[c] += crossings(c, k);
        }
        for (std::size_t k = 0; k < n; ++k) {
            const std::uint32_t count = counts_[c * n + k];
            values[k * width + c] =
                count == 0 || totals_[c] == 0
                    ? 0.0F
                    : static_cast<float>(100.0 * static_cast<double>(count) / totals_[c]);
        }
    }
}

void LevelCrossings::reset() {
    // Kept: after a reset the first pair starts at 0.
    std::fill(last_.begin(), last_.end(), 0.0F);
    for (std::size_t i = 0; i < classes_.size(); ++i)
        classes_[i] = fresh_[i % fresh_.size()];
    std::fill(counts_.begin(), counts_.end(), 0U);
    std::fill(totals_.begin(), totals_.end(), 0U);
}

}  // namespace vynpack
