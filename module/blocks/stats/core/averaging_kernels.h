// The loops of the averaging over samples, compiled for several instruction-set levels. All sums
// run in double and in sample order; channels and independent outputs run side by side.
#pragma once

#include <cstddef>

namespace vynpack {

struct AveragingKernels {
    // sums[c] += x over rows of interleaved channels
    void (*addRows)(const float* x, std::size_t rows, std::size_t channels, double* sums);
    // The mean of each group of `width` rows, a row of means per group.
    void (*groupMeans)(const float* x, std::size_t groups, std::size_t width, std::size_t channels,
                       float* out);
    // out[i] = (x[i] + x[i + channels] + … (width terms)) / width
    void (*windowMeans)(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                        float* out);
    // average[i] = (average[i] * weight + x[i]) / divisor in single precision; a copy goes to
    // `out` unless that is null.
    void (*mixIn)(const float* x, std::size_t count, float weight, float divisor, float* average,
                  float* out);

    static const AveragingKernels baseline, avx2, avx512;
};

}  // namespace vynpack
