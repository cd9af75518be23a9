// A sound level meter's own sums over a frequency-weighted signal: what the level block does not
// give, for each interval and for the whole recording.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "vynhost/interface/channel_data.h"
#include "vynhost/run/level_intervals.h"

namespace vynhost {

// Exponential time weightings (IEC 61672-1): S 1 s, F 0.125 s, I 0.035 s with a decay of 2.9 dB/s.
enum class TimeWeighting { slow, fast, impulse };

// For how long levels were which, in classes of 0.01 dB.
class LevelHistogram {
public:
    // Of 0 and above; the ratio to the reference, squared.
    void add(double meanSquare);
    // That is complete.
    void add(const LevelHistogram& other);
    // Nothing comes any more.
    void complete();
    // The level that is exceeded in so many percent of the time, in dB; nothing where there was
    // none. Of a complete one.
    std::optional<double> exceededIn(double percent) const;

private:
    void count(int bin, std::int64_t samples);

    int first_ = 0;                     // of the classes
    std::vector<std::int64_t> counts_;  // class k is around k/100 dB
    std::int64_t silent_ = 0;           // samples of no level at all
    // The class of the last sample, and how often it has come in a row.
    double from_ = 0;
    double to_ = 0;
    int bin_ = 0;
    std::int64_t pending_ = 0;
};

struct LevelMeterSettings {
    TimeWeighting time = TimeWeighting::fast;
    double intervalsPerSecond = 1;
    double clockPeriod = 5;  // s
    double reference = 2e-5;
    std::vector<double> percentiles = {};  // percent of the time
};

// Levels in dB over the reference. What there is no value of is empty: a level of NaN, extremes and
// percentiles of an interval in which the time weighting had not settled.
struct ChannelLevels {
    double equivalent = 0;  // of the signal's mean square, without time weighting
    double exposure = 0;    // that, over 1 s
    double maximum = 0;     // of the time-weighted level
    std::optional<double> minimum = {};
    double last = 0;                          // at the end
    std::optional<double> clockMaximum = {};  // energy mean of the clock periods that end in it
    std::vector<std::optional<double>> percentiles = {};
};

struct LevelRow {
    double begin = 0;  // s
    double end = 0;
    bool isShort = false;  // the recording ends before the interval does
    std::vector<ChannelLevels> channels = {};
};

class LevelMeter {
public:
    // How long the time weighting takes to come within 0.03 dB of a steady tone, in time constants;
    // minima and percentiles begin then.
    static constexpr double kSettling = 5;

    explicit LevelMeter(LevelMeterSettings settings);

    // Data blocks of one signal, in order; the intervals are those of a level block.
    void take(const ChannelData& block);
    // The recording has ended: what is left becomes a short last row.
    void finish();

    const std::vector<LevelRow>& rows() const noexcept { return rows_; }
    // Of the whole recording.
    LevelRow total() const;
    // What the rows take, in bytes.
    std::uint64_t bytes() const noexcept;

private:
    // Sums over a stretch of time.
    struct Sums {
        double energy = 0;  // of squared samples
        double maximum = -1;
        double minimum = -1;  // below 0: none
        double clockEnergy = 0;
        std::int64_t clocks = 0;
        LevelHistogram histogram;
    };
    struct Channel {
        double meanSquare = 0;
        double held = 0;
        double clockMaximum = -1;
        Sums row;
        Sums total;
    };

    void begin(const ChannelData& block);
    void takeStretch(const ChannelData& block, std::int64_t from, std::int64_t count);
    void endClock();
    void endRow(bool isShort);
    ChannelLevels levels(const Channel& channel, const Sums& sums, std::int64_t samples) const;
    double level(double meanSquare) const;
    double weighted(const Channel& channel) const;

    LevelMeterSettings settings_;
    LevelIntervals intervals_;
    std::vector<Channel> channels_;
    double factor_ = 0;             // of the time weighting, per sample
    double decay_ = 0;              // of the held level, per sample
    std::int64_t settled_ = 0;      // samples before which it has not
    std::int64_t clockLength_ = 0;  // samples
    std::int64_t samples_ = 0;      // that were taken
    std::int64_t rowBegin_ = 0;
    double begin_ = 0;  // of the row, s
    std::vector<LevelRow> rows_;
};

}  // namespace vynhost
