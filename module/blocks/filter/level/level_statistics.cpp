#include "blocks/filter/level/level_statistics.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "kernels/level.h"

namespace vynpack {
namespace {

// The displayed level falls by this much per second with impulse weighting.
constexpr double kFallPerSecond = 2.9;

// A minimum that no sample has touched: 200 dB.
constexpr double kUntouchedMinimum = 1e20;

// The history must fit into this memory.
constexpr double kLargestHistory = 1 << 30;

// Shares of the time, and where the levels exceeded in the rest of it are put out.
struct Percentile {
    double share;
    LevelQuantity quantity;
};
constexpr Percentile kPercentiles[] = {
    {0.01, kPercentile99}, {0.05, kPercentile95}, {0.1, kPercentile90}, {0.5, kPercentile50},
    {0.9, kPercentile10},  {0.95, kPercentile5},  {0.99, kPercentile1},
};

std::size_t ringLength(double blankedSeconds, int channels) {
    // Also for what is not a number.
    const double length = blankedSeconds > 1.0 ? std::ceil(blankedSeconds) : 1.0;
    const double bytes = (length + 2.0) * channels * (LevelBins::kCount + 10) * sizeof(double);
    if (bytes > kLargestHistory) throw std::bad_alloc();
    return static_cast<std::size_t>(length);
}

}  // namespace

std::vector<LevelGroup> levelGroups(int channels) {
    std::vector<LevelGroup> groups;
    for (int first = 0; first < channels; first += kGroupLanes) {
        const int count = std::min(kGroupLanes, channels - first);
        groups.push_back({first, count, lanesFor(count)});
    }
    return groups;
}

LevelStatistics::LevelStatistics(int channels, double step, int clockSeconds, double blankedSeconds)
    : channels_(channels),
      step_(step),
      clockSeconds_(clockSeconds),
      ringLength_(ringLength(blankedSeconds, channels)),
      groups_(levelGroups(channels)),
      now_(fresh(groups_.size(), channels)),
      past_(now_),
      ring_(ringLength_, now_),
      seen_(groups_.size()),
      window_(groups_.size()),
      displayed_(kFallPerSecond * step),
      displayedBefore_(displayed_),
      lastRatios_(static_cast<std::size_t>(channels), 1.0) {
    for (LevelWindow& window : window_) {
        std::ranges::fill(window.from, LevelBins::table().from(0));
        std::ranges::fill(window.to, LevelBins::table().to(0));
    }
}

LevelStatistics::Statistics LevelStatistics::fresh(std::size_t groups, int channels) {
    Statistics statistics;
    statistics.lanes.resize(groups, LevelLanes{});
    resetExtremes(statistics);
    statistics.histogram.resize(static_cast<std::size_t>(channels) * LevelBins::kCount);
    return statistics;
}

void LevelStatistics::resetExtremes(Statistics& statistics) {
    statistics.timeSinceExtremesReset = 0.0;
    for (LevelLanes& lanes : statistics.lanes) {
        std::ranges::fill(lanes.maximum, 1.0);  // 0 dB
        std::ranges::fill(lanes.minimum, kUntouchedMinimum);
    }
}

void LevelStatistics::resetAll() {
    const auto clear = [](Statistics& statistics) {
        statistics.measurementTime = 0.0;
        statistics.clockIntervals = 0;
        std::ranges::fill(statistics.lanes, LevelLanes{});
        resetExtremes(statistics);
        std::ranges::fill(statistics.histogram, 0U);
    };
    clear(now_);
    clear(past_);
    std::ranges::for_each(ring_, clear);
    runningTime_ = 0.0;
    displayed_.set(1.0);
}

void LevelStatistics::take(const LevelFrames& frames, std::int32_t control, LevelMode mode) {
    std::size_t done = 0;
    // Only the first frame can bring an edge of the control value.
    if (frames.count > 0 && control != control_) takeOne(frames.part(done++, 1), control, mode);
    while (done < frames.count) {
        const std::size_t quiet = framesBeforeSecond(frames.count - done);
        if (quiet > 0) gather(frames.part(done, quiet), mode);
        done += quiet;
        if (done < frames.count) takeOne(frames.part(done++, 1), control, mode);
    }
}

// Lets the time run to the last frame before a second is full, `most` frames at most.
std::size_t LevelStatistics::framesBeforeSecond(std::size_t most) {
    // Copies, which stay in registers.
    const double step = step_;
    double partOfSecond = partOfSecond_;
    double runningTime = runningTime_;
    double measurementTime = now_.measurementTime;
    double timeSinceExtremesReset = now_.timeSinceExtremesReset;
    std::size_t frames = 0;
    for (; frames < most && partOfSecond + step < 1.0; ++frames) {
        partOfSecond += step;
        runningTime += step;
        measurementTime += step;
        timeSinceExtremesReset += step;
    }
    partOfSecond_ = partOfSecond;
    runningTime_ = runningTime;
    now_.measurementTime = measurementTime;
    now_.timeSinceExtremesReset = timeSinceExtremesReset;
    return frames;
}

// A frame at which a second may end or the control value change.
void LevelStatistics::takeOne(const LevelFrames& frame, std::int32_t control, LevelMode mode) {
    runningTime_ += step_;
    partOfSecond_ += step_;
    const bool second = partOfSecond_ >= 1.0;
    if (second) {
        partOfSecond_ -= 1.0;
        ++seconds_;
    }
    const bool clockCloses = second && seconds_ >= clockSeconds_;
    if (clockCloses) seconds_ = 0;

    const std::int32_t rising = control & ~control_;
    const bool pauseEnded = (control_ & ~control & kPause) != 0;
    control_ = control;
    if ((rising & kResetAll) != 0) {
        resetAll();
    } else if ((rising & kResetExtremes) != 0) {
        resetExtremes(now_);
        resetExtremes(past_);
        std::ranges::for_each(ring_, resetExtremes);
    }
    if (pauseEnded) {
        // Kept: a pause lasts, and is counted as such, until a clock interval closes.
        if (clockCloses) {
            now_ = past_;
            // Kept: the ring's entries stay; one from before the pause may come up again.
            ringIndex_ = 0;
            ringFilled_ = false;
        } else {
            control_ |= kPause;
        }
    }

    now_.measurementTime += step_;
    now_.timeSinceExtremesReset += step_;
    gather(frame, mode);
    if (clockCloses) closeClockInterval(mode);
    if (second && (control_ & kPause) == 0) recordSecond();
}

void LevelStatistics::gather(const LevelFrames& frames, LevelMode mode) {
    const LevelKernels& kernels = vyn::kernelsAt<LevelKernels>();
    for (std::size_t g = 0; g < groups_.size(); ++g) {
        const double* ratios = frames.ofGroup(g, groups_[g].lanes);
        LevelLanes& lanes = now_.lanes[g];
        double hits[kGroupLanes];
        if (frames.energies != nullptr && frames.energies[frames.from] == lanes.energy[0]) {
            kernels.gatherOne(ratios, frames.count, &window_[g], &lanes, hits);
            lanes.energy[0] = frames.energies[frames.from + frames.count];
        } else {
            kernels.gather(ratios, frames.count, groups_[g].lanes, &window_[g], &lanes, hits);
        }
        countBins(g, ratios, frames.count, hits);
        if (!mode.rms) {
            // Kept: peaks have neither minimum nor energy; both stand at 0.
            std::ranges::fill(lanes.minimum, 1.0);
            std::ranges::fill(lanes.energy, 0.0);
        }
    }
    display(frames, mode);
}

// Most often all ratios fall into the bin that was seen last; else each is looked up.
void LevelStatistics::countBins(std::size_t g, const double* ratios, std::size_t frames,
                                const double* hits) {
    const LevelBins& bins = LevelBins::table();
    const LevelGroup& group = groups_[g];
    for (int lane = 0; lane < group.channels; ++lane) {
        std::uint64_t* histogram =
            &now_.histogram[static_cast<std::size_t>(group.firstChannel + lane) *
                            LevelBins::kCount];
        std::uint16_t& seen = seen_[g].bin[lane];
        if (hits[lane] == static_cast<double>(frames)) {
            histogram[seen] += frames;
            continue;
        }
        const double* ratio = ratios + lane;
        int bin = 0;
        for (std::size_t frame = 0; frame < frames; ++frame, ratio += group.lanes) {
            bin = bins.of(*ratio);
            ++histogram[bin];
        }
        seen = static_cast<std::uint16_t>(bin);
        window_[g].from[lane] = bins.from(bin);
        window_[g].to[lane] = bins.to(bin);
    }
}

// Kept: the displayed level is one value for all channels: each falls and may raise it in turn.
void LevelStatistics::display(const LevelFrames& frames, LevelMode mode) {
    if (mode.impulse) {
        HoldLevel displayed = displayed_;
        for (std::size_t frame = 0; frame + 1 < frames.count; ++frame) {
            for (std::size_t g = 0; g < groups_.size(); ++g) {
                const double* ratios = frames.part(frame, 1).ofGroup(g, groups_[g].lanes);
                for (int lane = 0; lane < groups_[g].channels; ++lane)
                    displayed.hold(ratios[lane]);
            }
        }
        displayed_ = displayedBefore_ = displayed;
    }
    double* last = lastRatios_.data();
    for (std::size_t g = 0; g < groups_.size(); ++g) {
        const double* ratios = frames.part(frames.count - 1, 1).ofGroup(g, groups_[g].lanes);
        for (int lane = 0; lane < groups_[g].channels; ++lane) {
            if (mode.impulse) displayed_.hold(ratios[lane]);
            *last++ = ratios[lane];
        }
    }
    if (!mode.impulse) displayed_.set(lastRatios_.back());
    lastHeld_ = mode.impulse;
}

void LevelStatistics::closeClockInterval(LevelMode mode) {
    for (LevelLanes& lanes : now_.lanes) {
        for (int lane = 0; lane < kGroupLanes; ++lane) {
            lanes.lastClockMaximum[lane] = lanes.clockMaximum[lane];
            if (mode.rms) lanes.clockSum[lane] += lanes.clockMaximum[lane];
            lanes.clockMaximum[lane] = 0.0;
        }
    }
    if (mode.rms) ++now_.clockIntervals;
}

void LevelStatistics::recordSecond() {
    if (ringFilled_) past_ = ring_[ringIndex_];
    ring_[ringIndex_] = now_;
    ++ringIndex_;
    if (ringIndex_ == ring_.size()) ringIndex_ = 0;
    if (ringIndex_ == ring_.size() - 1) ringFilled_ = true;
}

void LevelStatistics::report(std::span<float> values, double rate, LevelMode mode) {
    const auto put = [&](LevelQuantity quantity, int channel, double value) {
        values[static_cast<std::size_t>(quantity * channels_ + channel)] =
            static_cast<float>(value);
    };
    const double samples = std::ceil(now_.measurementTime / step_);
    HoldLevel displayed = displayedBefore_;
    for (std::size_t g = 0; g < groups_.size(); ++g) {
        const LevelLanes& lanes = now_.lanes[g];
        for (int lane = 0; lane < groups_[g].channels; ++lane) {
            const int c = groups_[g].firstChannel + lane;
            const double ratio = lastRatios_[static_cast<std::size_t>(c)];
            const double level = levelOf(ratio);
            if (lastHeld_) displayed.hold(ratio);
            put(kDisplayedLevel, c, lastHeld_ ? displayed.level() : level);
            put(kRunningTime, c, runningTime_);
            put(kMeasurementTime, c, now_.measurementTime);
            put(kTimeSinceExtremesReset, c, now_.timeSinceExtremesReset);
            put(kMomentaryLevel, c, level);
            put(kMaximumLevel, c, levelOf(lanes.maximum[lane]));
            put(kMinimumLevel, c, levelOf(lanes.minimum[lane]));
            const double equivalent = 10.0 * std::log10(lanes.energy[lane] / samples);
            put(kEquivalentLevel, c, mode.rms ? equivalent : 0.0);
            put(kExposureLevel, c,
                mode.rms ? equivalent + 10.0 * std::log10(now_.measurementTime) : 0.0);
            put(kClockMaximumLevel, c, levelOf(lanes.lastClockMaximum[lane]));
            const double sum = lanes.clockSum[lane];
            const auto intervals = static_cast<double>(now_.clockIntervals);
            const bool known = mode.rms && sum != 0.0 && intervals != 0.0;
            put(kMeanClockMaximumLevel, c, known ? 10.0 * std::log10(sum / intervals) : 0.0);
            reportPercentiles(c, rate, values);
        }
    }
}

void LevelStatistics::reportPercentiles(int channel, double rate, std::span<float> values) const {
    const std::uint64_t* histogram =
        &now_.histogram[static_cast<std::size_t>(channel) * LevelBins::kCount];
    std::uint64_t sum = 0;
    int bin = 0;
    for (const Percentile& percentile : kPercentiles) {
        const double wanted = percentile.share * now_.measurementTime * rate;
        while (bin < LevelBins::kCount && static_cast<double>(sum) < wanted)
            sum += histogram[bin++];
        // The lower limit of the last bin added.
        values[static_cast<std::size_t>(percentile.quantity * channels_ + channel)] =
            static_cast<float>(LevelBins::kWidth * (bin - 2));
    }
}

}  // namespace vynpack
