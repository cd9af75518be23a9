// Between interleaved single-precision channels and rows of doubles.
#pragma once

#include <cstddef>

namespace ovanlys {

inline constexpr std::size_t kMostRows = 8;

struct ChannelKernels {
    // `count` samples, which lie `stride` numbers apart, of `channels` neighbouring channels:
    // sample i of channel c becomes rows[i * channels + c].
    void (*take)(const float* in, std::size_t stride, std::size_t channels, std::size_t count,
                 double* rows);
    // The way back, rounded to single precision.
    void (*put)(const double* rows, std::size_t channels, std::size_t count, float* out,
                std::size_t stride);

    // The same for up to kMostRows channels into rows of their own: sample i of channel c becomes
    // rows[c * distance + i].
    void (*split)(const float* in, std::size_t stride, std::size_t channels, std::size_t count,
                  double* rows, std::size_t distance);
    void (*join)(const double* rows, std::size_t distance, std::size_t channels, std::size_t count,
                 float* out, std::size_t stride);

    static const ChannelKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
