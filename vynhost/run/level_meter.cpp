#include "vynhost/run/level_meter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vynhost {
namespace {

constexpr double kClassesPerDecibel = 100;

double timeConstantOf(TimeWeighting time) {
    constexpr double kSlow = 1.0;
    constexpr double kFast = 0.125;
    constexpr double kImpulse = 0.035;
    switch (time) {
        case TimeWeighting::slow: return kSlow;
        case TimeWeighting::fast: return kFast;
        default: return kImpulse;
    }
}

double decibels(double ratio) { return 10 * std::log10(ratio); }

}  // namespace

// --- How long which level was there ---------------------------------------------------------

void LevelHistogram::add(double meanSquare) {
    // Weighted levels change little from sample to sample: one logarithm serves many.
    if (meanSquare >= from_ && meanSquare < to_) {
        ++pending_;
        return;
    }
    complete();
    if (meanSquare == 0) {
        ++silent_;
        return;
    }
    if (!std::isfinite(meanSquare)) return;
    bin_ = static_cast<int>(std::lround(decibels(meanSquare) * kClassesPerDecibel));
    const auto limit = [](double bin) { return std::pow(10.0, bin / (10 * kClassesPerDecibel)); };
    from_ = limit(bin_ - 0.5);
    to_ = limit(bin_ + 0.5);
    pending_ = 1;
}

void LevelHistogram::count(int bin, std::int64_t samples) {
    constexpr int kSpare = 100;  // room for the levels below
    if (counts_.empty()) first_ = bin - kSpare;
    if (bin < first_) {
        counts_.insert(counts_.begin(), static_cast<std::size_t>(first_ - bin + kSpare), 0);
        first_ = bin - kSpare;
    }
    const auto index = static_cast<std::size_t>(bin - first_);
    if (index >= counts_.size()) counts_.resize(index + 1);
    counts_[index] += samples;
}

void LevelHistogram::add(const LevelHistogram& other) {
    for (std::size_t i = 0; i < other.counts_.size(); ++i) {
        if (other.counts_[i] > 0) count(other.first_ + static_cast<int>(i), other.counts_[i]);
    }
    silent_ += other.silent_;
}

void LevelHistogram::complete() {
    if (pending_ > 0) count(bin_, std::exchange(pending_, 0));
}

// Of all samples from the loudest on, the one behind so many percent of them.
std::optional<double> LevelHistogram::exceededIn(double percent) const {
    std::int64_t all = silent_;
    for (const std::int64_t samples : counts_)
        all += samples;
    if (all == 0) return std::nullopt;
    const auto before =
        std::min(static_cast<std::int64_t>(percent / 100 * static_cast<double>(all)), all - 1);
    std::int64_t louder = 0;
    for (std::size_t i = counts_.size(); i-- > 0;) {
        louder += counts_[i];
        if (louder > before) return (first_ + static_cast<double>(i)) / kClassesPerDecibel;
    }
    return -std::numeric_limits<double>::infinity();
}

// --- The meter ------------------------------------------------------------------------------

LevelMeter::LevelMeter(LevelMeterSettings settings)
    : settings_(std::move(settings)), intervals_(settings_.intervalsPerSecond) {}

void LevelMeter::begin(const ChannelData& block) {
    constexpr double kDecay = 2.9;  // dB/s
    const double step = block.header.xStep * (block.header.xAxisKind == kMilliseconds ? 1e-3 : 1.0);
    const double constant = timeConstantOf(settings_.time);
    channels_.resize(static_cast<std::size_t>(block.channels()));
    factor_ = 1 - std::exp(-step / constant);
    decay_ = std::pow(10.0, -kDecay / 10 * step);
    settled_ = std::llround(kSettling * constant / step);
    clockLength_ = std::max<std::int64_t>(std::llround(settings_.clockPeriod / step), 1);
    begin_ = block.header.xStart;
}

void LevelMeter::take(const ChannelData& block) {
    if (block.samples() < 1) return;
    if (channels_.empty()) begin(block);
    intervals_.take(block);
    const std::int64_t count = block.samples();
    for (std::int64_t done = 0; done < count;) {
        std::int64_t stretch = std::min(count - done, rowBegin_ + intervals_.length() - samples_);
        stretch = std::min(stretch, clockLength_ - samples_ % clockLength_);
        if (samples_ < settled_) stretch = std::min(stretch, settled_ - samples_);
        takeStretch(block, done, stretch);
        done += stretch;
        samples_ += stretch;
        if (samples_ % clockLength_ == 0) endClock();
        if (samples_ == rowBegin_ + intervals_.length()) endRow(false);
    }
}

// Samples of one row and one clock period, all of them before the time weighting has settled or
// all behind.
void LevelMeter::takeStretch(const ChannelData& block, std::int64_t from, std::int64_t count) {
    const bool settled = samples_ >= settled_;
    const bool holds = settings_.time == TimeWeighting::impulse;
    const double scale = 1 / (settings_.reference * settings_.reference);
    const std::size_t stride = channels_.size();
    for (std::size_t c = 0; c < stride; ++c) {
        Channel& channel = channels_[c];
        const float* value = block.values.data() + static_cast<std::size_t>(from) * stride + c;
        double energy = 0;
        double mean = channel.meanSquare;
        double held = channel.held;
        double maximum = channel.row.maximum;
        double minimum =
            channel.row.minimum < 0 ? std::numeric_limits<double>::infinity() : channel.row.minimum;
        double clockMaximum = channel.clockMaximum;
        for (std::int64_t i = 0; i < count; ++i, value += stride) {
            const double sample = *value;
            const double square = sample * sample;
            energy += square;
            mean += factor_ * (square - mean);
            if (holds) held = std::max(held * decay_, mean);
            const double now = holds ? held : mean;
            maximum = std::max(maximum, now);
            clockMaximum = std::max(clockMaximum, now);
            if (!settled) continue;
            minimum = std::min(minimum, now);
            channel.row.histogram.add(now * scale);
        }
        channel.meanSquare = mean;
        channel.held = held;
        channel.clockMaximum = clockMaximum;
        channel.row.energy += energy;
        channel.row.maximum = maximum;
        if (std::isfinite(minimum)) channel.row.minimum = minimum;
    }
}

void LevelMeter::endClock() {
    for (Channel& channel : channels_) {
        const double maximum = std::exchange(channel.clockMaximum, -1);
        if (maximum < 0) continue;  // no number came
        channel.row.clockEnergy += maximum;
        ++channel.row.clocks;
    }
}

void LevelMeter::endRow(bool isShort) {
    const std::int64_t samples = samples_ - rowBegin_;
    LevelRow row{.begin = begin_, .isShort = isShort};
    if (isShort) {
        row.end = intervals_.endOfData();
    } else {
        const LevelIntervals::Interval interval = intervals_.next();
        row.begin = interval.begin;
        row.end = interval.end;
    }
    for (Channel& channel : channels_) {
        Sums& sums = channel.row;
        Sums& total = channel.total;
        sums.histogram.complete();
        row.channels.push_back(levels(channel, sums, samples));
        total.energy += sums.energy;
        total.maximum = std::max(total.maximum, sums.maximum);
        if (sums.minimum >= 0 && (total.minimum < 0 || sums.minimum < total.minimum)) {
            total.minimum = sums.minimum;
        }
        total.clockEnergy += sums.clockEnergy;
        total.clocks += sums.clocks;
        total.histogram.add(sums.histogram);
        sums = {};
    }
    rowBegin_ = samples_;
    begin_ = row.end;
    rows_.push_back(std::move(row));
}

void LevelMeter::finish() {
    if (samples_ > rowBegin_) endRow(true);
}

LevelRow LevelMeter::total() const {
    LevelRow row;
    if (!rows_.empty()) {
        row.begin = rows_.front().begin;
        row.end = rows_.back().end;
    }
    for (const Channel& channel : channels_)
        row.channels.push_back(levels(channel, channel.total, samples_));
    return row;
}

ChannelLevels LevelMeter::levels(const Channel& channel, const Sums& sums,
                                 std::int64_t samples) const {
    ChannelLevels result;
    const double seconds = intervals_.secondsOf(samples);
    result.equivalent = level(sums.energy / static_cast<double>(samples));
    result.exposure = result.equivalent + decibels(seconds);
    result.maximum =
        sums.maximum < 0 ? std::numeric_limits<double>::quiet_NaN() : level(sums.maximum);
    if (sums.minimum >= 0) result.minimum = level(sums.minimum);
    result.last = level(weighted(channel));
    if (sums.clocks > 0) {
        result.clockMaximum = level(sums.clockEnergy / static_cast<double>(sums.clocks));
    }
    for (const double percent : settings_.percentiles)
        result.percentiles.push_back(sums.histogram.exceededIn(percent));
    return result;
}

double LevelMeter::level(double meanSquare) const {
    return decibels(meanSquare / (settings_.reference * settings_.reference));
}

double LevelMeter::weighted(const Channel& channel) const {
    return settings_.time == TimeWeighting::impulse ? channel.held : channel.meanSquare;
}

std::uint64_t LevelMeter::bytes() const noexcept {
    const std::uint64_t ofChannel =
        sizeof(ChannelLevels) + settings_.percentiles.size() * sizeof(std::optional<double>);
    return rows_.size() * (sizeof(LevelRow) + channels_.size() * ofChannel);
}

}  // namespace vynhost
