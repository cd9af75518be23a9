// The loops of the averaging over samples, compiled for several instruction-set levels. All sums
// run in double, in one order at all levels: that of the samples unless another one is said.
// Channels and independent outputs run side by side.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>

namespace vynpack {

// How windowMeans goes about `count` windows that registers do not hold.
struct WindowPlan {
    std::size_t stretch;  // outputs that are made at once; 0: block by block, as there are few
    std::size_t work;     // doubles that it works in
};
constexpr std::size_t kWindowMargin = 8;  // doubles, a register at most
constexpr WindowPlan planWindows(std::size_t count, std::size_t width, std::size_t channels) {
    constexpr std::size_t kOverhead = 16;
    constexpr std::size_t kShortest = 1024;
    const std::size_t reach = (width - 1) * channels;
    const auto doublings = static_cast<std::size_t>(std::bit_width(width));
    if (width == 1 || count * width < doublings * (count + reach + kOverhead))
        return {0, doublings * count};
    const std::size_t stretch = std::min(count, std::max(reach, kShortest));
    return {stretch, 2 * (stretch + kWindowMargin) + reach};
}

struct AveragingKernels {
    // sums[c] += x over rows of interleaved channels
    void (*addRows)(const float* x, std::size_t rows, std::size_t channels, double* sums);
    // The mean of each group of `width` rows, a row of means per group.
    void (*groupMeans)(const float* x, std::size_t groups, std::size_t width, std::size_t channels,
                       float* out);
    // out[i] = (x[i] + x[i + channels] + … (width terms)) / width. A sum is that of blocks of 1, 2,
    // 4, … rows, as the binary digits of the width say, short ones first; a block is the sum of its
    // halves. (Width 7: (x0 + (x1 + x2)) + ((x3 + x4) + (x5 + x6)).) `stretch` and the size of
    // `work` are planWindows'.
    void (*windowMeans)(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                        std::size_t stretch, double* work, float* out);
    // average[i] = (average[i] * weight + x[i]) / divisor in single precision; a copy goes to
    // `out` unless that is null.
    void (*mixIn)(const float* x, std::size_t count, float weight, float divisor, float* average,
                  float* out);

    static const AveragingKernels baseline, avx2, avx512;
};

}  // namespace vynpack
