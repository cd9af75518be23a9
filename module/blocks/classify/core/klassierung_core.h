// One counting method of the classification: what a class counts, with all state that survives from
// data block to data block.
//
// Source: DIN 45667 (classification of irregular oscillations); for peaks and level crossings also
// ASTM E1049.
//
// An object serves one run: it is made for the run's first data block, takes every block in turn
// and can be reset or given other rules between blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "blocks/classify/core/class_scale.h"

namespace vynpack {

// Stored as they stand.
enum CountingMethodId : std::int16_t {
    kSampleCount = 93,
    kDwellTime = 94,
    kLevelCrossings = 95,
    kExcursionPeaks = 96,
    kTurningPoints = 97,
    kSeparatePeaks = 98,
};

struct CountingRules {
    ClassScale scale;
    bool relative = true;        // percent of the channel's total instead of amounts
    double referenceLine = 0.0;  // separates above from below
    double hysteresis = 0.0;     // in the signal's unit

    bool operator==(const CountingRules&) const = default;
};

class CountingMethod {
public:
    CountingMethod(const CountingRules& rules, int channels) : rules_(rules), channels_(channels) {}
    CountingMethod(const CountingMethod&) = delete;
    CountingMethod& operator=(const CountingMethod&) = delete;
    virtual ~CountingMethod() = default;

    // Counts one data block and brings the results up to date. `samples`: interleaved; `step`:
    // the sample interval; `values`: one row per class, `columns()` values each, as the last call
    // (or zeros) left them.
    virtual void update(std::span<const float> samples, double step, std::span<float> values) = 0;

    // Counts by other rules from the next block on; what was counted stays in its classes, whose
    // number stays that of the run.
    void follow(const CountingRules& rules) {
        if (rules == rules_) return;
        const int number = rules_.scale.number;
        rules_ = rules;
        rules_.scale.number = number;
        adapt();
    }

    // Forgets all counts; the values are the caller's to clear.
    virtual void reset() = 0;

protected:
    // The rules have changed: what was derived from them is made anew.
    virtual void adapt() {}

    const CountingRules& rules() const { return rules_; }
    const ClassScale& scale() const { return rules_.scale; }
    int classes() const { return rules_.scale.number; }
    int channels() const { return channels_; }
    std::size_t samplesPerChannel(std::span<const float> samples) const {
        return samples.size() / static_cast<std::size_t>(channels_);
    }

private:
    CountingRules rules_;
    int channels_;
};

// Values per class and channel in a method's result: 2 for separate peaks, else 1.
constexpr int resultsPerChannel(int method) { return method == kSeparatePeaks ? 2 : 1; }

// Null for an unknown method. Throws std::bad_alloc.
std::unique_ptr<CountingMethod> makeCountingMethod(int method, const CountingRules& rules,
                                                   int channels);

// A count as percent of a total, in single precision; 0 without a total. The product is 64 bits
// wide: a class that was hit 43 million times is still right.
inline float percentOf(std::uint32_t count, std::uint32_t total) {
    if (total == 0) return 0.0F;
    return static_cast<float>(std::uint64_t{count} * 100U) / static_cast<float>(total);
}

}  // namespace vynpack
