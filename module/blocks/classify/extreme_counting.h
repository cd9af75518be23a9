// What the methods that count extreme values have in common.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "classify/class_counts.h"

namespace vynpack {

// Samples per channel that are searched in one go; no pair holds more than one extreme.
inline constexpr std::size_t kPairsInWork = 1024;

// Calls take(channel, first sample, number of samples) for pieces of an interleaved block, channel
// by channel. The first sample of a run opens no pair: it is handed to open(channel, sample).
template <class Open, class Take>
void forEachPiece(std::span<const float> samples, std::size_t channels, bool firstBlock, Open open,
                  Take take) {
    const std::size_t all = samples.size() / channels;
    std::size_t from = 0;
    if (firstBlock && all > 0) {
        for (std::size_t c = 0; c < channels; ++c)
            open(c, samples[c]);
        from = 1;
    }
    while (from < all) {
        const std::size_t count = std::min(kPairsInWork, all - from);
        for (std::size_t c = 0; c < channels; ++c)
            take(c, samples.data() + from * channels + c, count);
        from += count;
    }
}

// Direction of the signal from a to b: 1, 0 or -1.
inline int slopeSign(double a, double b) { return (b > a ? 1 : 0) - (b < a ? 1 : 0); }

// Before the first pair of a run, and after a reset.
inline constexpr int kSlopeUnknown = 2;

}  // namespace vynpack
