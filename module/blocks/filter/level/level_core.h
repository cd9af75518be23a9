// The level block's core: time signals in, a block of 18 level quantities per output interval out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/filter/level/level_statistics.h"

namespace vynpack {

// Stored as they stand.
enum TimeWeighting : std::int16_t { kSlow = 0, kFast = 1, kImpulse = 2 };

// The time constant in seconds (S and F: IEC 61672-1; I: the detector of IEC 60651). An unknown
// weighting is slow.
double timeConstantOf(int timeWeighting);

struct LevelSettings {
    int channels = 1;
    double step = 1.0;             // seconds between samples
    double outputFrequency = 1.0;  // Hz
    double timeConstant = 1.0;     // seconds
    int clockSeconds = 1;
    double blankedSeconds = 0.0;
};

// An output interval has rate / output frequency samples; where that is no whole number, intervals
// of the whole number below and above it alternate. The last sample is set aside until it is known
// to which interval it belongs.
class LevelMeter {
public:
    // Throws std::bad_alloc when the history or an interval is larger than can be held.
    explicit LevelMeter(const LevelSettings& settings);

    // An output is due, and nothing may be fed before it is emitted.
    bool full() const { return full_; }
    // Samples per channel that may be fed until then, at least 1.
    std::int64_t missing() const { return places_ - position_; }

    // Feeds whole frames, at most missing(). `control`: the integer part of the control value.
    void feed(std::span<const float> frames, std::int32_t control, LevelMode mode);

    // Writes quantity q of channel c at q * channels + c.
    void emit(std::span<float> values, LevelMode mode);

    // The running time at the first sample of the interval under way, in seconds.
    double intervalStart() const { return intervalStart_; }

private:
    void weight(const float* x, std::size_t frames, LevelMode mode, double* ratios,
                std::size_t groupStride);
    // The same for a single channel in the mode of means, with its energies.
    void weightOne(const float* x, std::size_t frames);

    int channels_;
    double rate_;
    double alpha_;
    std::int64_t places_;  // samples of a long interval
    double fraction_;      // of a sample that an interval is longer than places_ - 1
    std::vector<LevelGroup> groups_;
    std::size_t framesAtOnce_;

    std::int64_t position_ = 0;
    double fractions_ = 0.0;
    bool short_ = true;  // the interval ends before its last place
    bool full_ = false;
    double intervalStart_ = 0.0;
    std::int32_t controlAtOutput_ = 0;  // of the last sample that an output has counted

    std::vector<double> meanSquares_;  // per lane
    std::vector<double> ratios_;       // of the frames in work
    std::vector<double> energies_;     // of a single channel, before and behind each of them
    std::vector<double> pending_;      // of the sample set aside
    std::int32_t pendingControl_ = 0;
    std::vector<float> padded_;  // samples of a group with padding
    LevelStatistics statistics_;
};

}  // namespace vynpack
