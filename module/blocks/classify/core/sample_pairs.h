// What the methods that look at one channel after the other take.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace vynpack {

// Pairs of neighbouring samples of a channel: (last, x[0]), (x[0], x[stride]), ...
struct SamplePairs {
    const float* x;
    std::size_t stride;
    std::size_t count;
    float last;
};

// The pairs of a channel's samples, of which there is one at least. `last`: the sample before them;
// null at the start of a run, where the first sample has none.
inline SamplePairs samplePairs(const float* x, std::size_t stride, std::size_t samples,
                               const float* last) {
    if (last != nullptr) return {x, stride, samples, *last};
    return {x + stride, stride, samples - 1, *x};
}

// Samples per channel that stay in the nearest cache while one channel after the other takes its
// own, but as many as make the beginning of a stretch worth it.
inline std::size_t framesNear(std::size_t channels) {
    constexpr std::size_t kValuesNear = 8192;
    constexpr std::size_t kFewest = 64;
    return std::max(kFewest, kValuesNear / channels);
}

// Calls take(channel, pairs) for all pairs of interleaved samples, channel by channel in stretches
// that stay near, and keeps what the next data block needs: each channel's last sample, and that
// the run has begun.
template <class Take>
void forPairs(std::span<const float> samples, std::vector<float>& last, bool& first, Take take) {
    const std::size_t width = last.size();
    const std::size_t most = framesNear(width);
    const float* x = samples.data();
    for (std::size_t left = samples.size() / width; left > 0;) {
        const std::size_t frames = std::min(most, left);
        for (std::size_t c = 0; c < width; ++c) {
            take(c, samplePairs(x + c, width, frames, first ? nullptr : &last[c]));
            last[c] = x[(frames - 1) * width + c];
        }
        first = false;
        x += frames * width;
        left -= frames;
    }
    first = false;
}

}  // namespace vynpack
