// The level block's statistics: what is made of the squared ratios of all channels, sample by
// sample, with clock intervals, resets, pauses and the history that a pause falls back on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/filter/level/hold_level.h"
#include "blocks/filter/level/level_bins.h"
#include "blocks/filter/level/level_kernels.h"

namespace vynpack {

// Bits of the control value.
enum LevelControl : std::int32_t { kResetExtremes = 1, kResetAll = 2, kPause = 4 };

// The quantities of an output, in their order; the percentile levels are those exceeded in that
// share of the time.
enum LevelQuantity {
    kDisplayedLevel,
    kRunningTime,
    kMeasurementTime,
    kTimeSinceExtremesReset,
    kMomentaryLevel,
    kMaximumLevel,
    kMinimumLevel,
    kEquivalentLevel,
    kExposureLevel,
    kClockMaximumLevel,
    kMeanClockMaximumLevel,
    kPercentile1,
    kPercentile5,
    kPercentile10,
    kPercentile50,
    kPercentile90,
    kPercentile95,
    kPercentile99,
    kLevelQuantities,
};

// How samples are weighted; may change from call to call.
struct LevelMode {
    bool rms = true;       // exponential means instead of momentary squares
    bool impulse = false;  // the displayed level holds and falls by 2.9 dB/s
};

// Channels are taken in groups, one lane each; the last group is as narrow as it can be.
struct LevelGroup {
    int firstChannel;
    int channels;
    int lanes;  // 1, 2, 4 or 8; what exceeds the channels is padding
};
std::vector<LevelGroup> levelGroups(int channels);

// Squared ratios of the frames `from` to `from` + `count` - 1: those of group g, lane l, frame f
// lie at data[g * groupStride + f * lanes + l].
struct LevelFrames {
    const double* data;
    std::size_t groupStride;
    std::size_t from;
    std::size_t count;
    // Of a single channel: its energy before frame f of the data, as long as nobody has set it back
    // since; null where it has not been summed.
    const double* energies = nullptr;

    const double* ofGroup(std::size_t g, int lanes) const {
        return data + g * groupStride + from * static_cast<std::size_t>(lanes);
    }
    LevelFrames part(std::size_t first, std::size_t frames) const {
        return {data, groupStride, from + first, frames, energies};
    }
};

class LevelStatistics {
public:
    // `step`: seconds between samples; `clockSeconds`: length of a clock interval;
    // `blankedSeconds`: how far back a pause reaches, at least 1. Throws std::bad_alloc.
    LevelStatistics(int channels, double step, int clockSeconds, double blankedSeconds);

    // Takes frames that carry the same control value.
    void take(const LevelFrames& frames, std::int32_t control, LevelMode mode);

    // Writes all quantities as they stand after the last frame: quantity q of channel c at
    // q * channels + c. At least one frame must have been taken.
    void report(std::span<float> values, double rate, LevelMode mode);

    // The sum of a single channel's ratios so far.
    double energy() const { return now_.lanes[0].energy[0]; }

    // Seconds since the start or the last full reset.
    double runningTime() const { return runningTime_; }
    // The control value of the last frame; a pause that has ended still counts as one until its
    // end has been dealt with.
    std::int32_t control() const { return control_; }

private:
    using Bins = std::vector<std::uint64_t>;  // LevelBins::kCount per channel

    // What a full reset clears and the end of a pause sets back.
    struct Statistics {
        double measurementTime = 0.0;
        double timeSinceExtremesReset = 0.0;
        std::uint64_t clockIntervals = 0;
        std::vector<LevelLanes> lanes;  // per group
        Bins histogram;
    };

    static Statistics fresh(std::size_t groups, int channels);
    static void resetExtremes(Statistics& statistics);

    void takeOne(const LevelFrames& frame, std::int32_t control, LevelMode mode);
    void gather(const LevelFrames& frames, LevelMode mode);
    void countBins(std::size_t g, const double* ratios, std::size_t frames, const double* hits);
    void display(const LevelFrames& frames, LevelMode mode);
    std::size_t framesBeforeSecond(std::size_t most);
    void closeClockInterval(LevelMode mode);
    void resetAll();
    void recordSecond();
    void reportPercentiles(int channel, double rate, std::span<float> values) const;

    int channels_;
    double step_;
    int clockSeconds_;
    std::size_t ringLength_;
    std::vector<LevelGroup> groups_;

    double runningTime_ = 0.0;
    double partOfSecond_ = 0.0;
    int seconds_ = 0;  // of the clock interval under way
    std::int32_t control_ = 0;

    Statistics now_;
    Statistics past_;               // as they were the blanked time ago
    std::vector<Statistics> ring_;  // one entry per second
    std::size_t ringIndex_ = 0;
    bool ringFilled_ = false;

    struct Seen {
        std::uint16_t bin[kGroupLanes] = {};  // of the last ratio that was looked up
    };
    std::vector<Seen> seen_;           // per group
    std::vector<LevelWindow> window_;  // per group: the ratios of those bins

    HoldLevel displayed_;
    HoldLevel displayedBefore_;       // the last frame
    std::vector<double> lastRatios_;  // per channel, of the last frame
    bool lastHeld_ = false;           // the last frame was taken with impulse weighting
};

}  // namespace vynpack
