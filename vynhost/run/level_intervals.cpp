#include "vynhost/run/level_intervals.h"

#include <cmath>

#include "vynhost/base/text.h"

namespace vynhost {

void LevelIntervals::take(const ChannelData& block) {
    if (block.samples() < 1) return;
    if (!started_) {
        started_ = true;
        const double unit = block.header.xAxisKind == kMilliseconds ? 1e-3 : 1.0;
        start_ = block.header.xStart * unit;
        step_ = block.header.xStep * unit;
        // As the block divides, to the last bit: the fraction decides when a sample is counted.
        constexpr double kMost = 2147483647;
        double samples = 1.0 / step_ / outputFrequency_;
        if (!(samples >= 1.0)) samples = 1.0;
        if (samples >= kMost) samples = kMost;
        whole_ = static_cast<std::int64_t>(std::floor(samples));
        fraction_ = samples - std::floor(samples);
    }
    samples_ += block.samples();
    last_.header = block.header;
    last_.hostBytes = block.hostBytes;
    last_.values.assign(block.values.end() - block.channels(), block.values.end());
}

LevelIntervals::Interval LevelIntervals::next() {
    const std::int64_t begin = end_;
    end_ += length();
    fractions_ += fraction_;
    if (fractions_ >= 1.0) fractions_ -= 1.0;
    return {timeOf(begin), timeOf(end_)};
}

ChannelData LevelIntervals::follower() const {
    ChannelData data = last_;
    data.header.valueCount = data.header.channelCount;
    return data;
}

// Of the next interval; the collected fractions give one sample more now and then.
std::int64_t LevelIntervals::length() const {
    return whole_ + (fractions_ + fraction_ >= 1.0 ? 1 : 0);
}

double LevelIntervals::secondsOf(std::int64_t samples) const {
    return roundedToStep(static_cast<double>(samples) * step_, step_);
}

double LevelIntervals::timeOf(std::int64_t sample) const {
    return roundedToStep(start_ + static_cast<double>(sample) * step_, step_);
}

}  // namespace vynhost
