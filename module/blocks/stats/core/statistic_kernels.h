// The loops of the statistics over the samples of a data block, compiled for several
// instruction-set levels. All take rows of interleaved channels and carry one accumulator per
// channel on: per channel the terms are added in sample order, channels run side by side.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vynpack {

struct StatisticKernels {
    // sum[c] += x, squares[c] += x * x, the square in single precision.
    void (*addSamples)(const float* x, std::size_t rows, std::size_t channels, double* sum,
                       double* squares);
    // reciprocals[c] += 1 / x, the quotient in single precision; product[c] *= powers (one number
    // per sample). Notes in the flags where a sample is 0, or not above 0.
    void (*addMeanTerms)(const float* x, const double* powers, std::size_t rows,
                         std::size_t channels, double* reciprocals, double* product,
                         std::int32_t* hasZero, std::int32_t* hasNotPositive);
    // Strictly greater and strictly smaller samples replace the extremes; the index of the first
    // row is given. NaN replaces nothing.
    void (*findExtremes)(const float* x, std::size_t rows, std::size_t channels,
                         std::int32_t firstIndex, float* maximum, std::int32_t* maximumIndex,
                         float* minimum, std::int32_t* minimumIndex);
    // squares[c] += (x - mean[c])^2, absolutes[c] += |x - mean[c]|
    void (*addDeviations)(const float* x, std::size_t rows, std::size_t channels,
                          const double* mean, double* squares, double* absolutes);
    // out[i] = x[i]^exponent for x above 0 and an exponent in 0..1, within 0.65 units of the last
    // place; infinity and NaN pass. Samples at or below 0 give a number without meaning.
    void (*powers)(const float* x, std::size_t count, double exponent, double* out);

    static const StatisticKernels baseline, avx2, avx512;
};

}  // namespace vynpack
