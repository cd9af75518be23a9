// Which samples the intervals of a level block hold.
#pragma once

#include <cstdint>

#include "vynhost/interface/channel_data.h"

namespace vynhost {

// A level block puts an interval out when data follow it, and numbers its data blocks by its own
// running time. Counting as it does tells where each interval lies and what is left at the end.
class LevelIntervals {
public:
    // In intervals a second; what the block does not take, nobody counts.
    explicit LevelIntervals(double outputFrequency) : outputFrequency_(outputFrequency) {}

    // A data block goes in.
    void take(const ChannelData& block);

    // A data block comes out: where its interval lies, as exactly as the sample interval can say.
    struct Interval {
        double begin;  // s
        double end;
    };
    Interval next();

    // Samples of the next interval.
    std::int64_t length() const;
    // All samples of the next interval are there.
    bool isComplete() const { return started_ && samples_ >= end_ + length(); }
    // One sample more, equal to the last, which belongs to no interval that `isComplete` tells of.
    ChannelData follower() const;

    // What is behind the last interval that came out.
    std::int64_t rest() const { return samples_ - end_; }
    double secondsOf(std::int64_t samples) const;
    double endOfData() const { return timeOf(samples_); }
    double intervalSeconds() const { return 1.0 / outputFrequency_; }

private:
    double timeOf(std::int64_t sample) const;

    double outputFrequency_;
    bool started_ = false;
    double start_ = 0;  // of the first sample, s
    double step_ = 0;   // s
    std::int64_t whole_ = 0;
    double fraction_ = 0;
    double fractions_ = 0;      // of the intervals that came out
    std::int64_t end_ = 0;      // of the last of them, in samples
    std::int64_t samples_ = 0;  // that went in
    ChannelData last_;          // one sample
};

}  // namespace vynhost
