// The loops of the statistics over the samples of a data block, compiled for several
// instruction-set levels. All take rows of interleaved channels and carry one accumulator per
// channel on: per channel the terms are added in sample order. Channels run side by side; of a
// channel on its own the terms are made side by side, and its sums run beside each other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vynpack {

// Per channel, of the samples taken so far.
struct StatisticSums {
    double* sum;      // of x
    double* squares;  // of x * x, the square in single precision
    // Of 1 / x, the quotient in single precision.
    double* reciprocals;
    // The product of all x above 0 is mantissas * 2^exponents: x is taken apart into m * 2^e with
    // 1 <= m < 2, so that no product of up to kMostFactors leaves the range of doubles.
    double* mantissas;
    std::int64_t* exponents;  // each 1023 too large
    float* lowest;            // the smallest and the largest x; NaN replaces nothing
    float* highest;
};

struct StatisticKernels {
    // Rows between two calls of takeOutExponents.
    static constexpr std::size_t kMostFactors = 1000;

    // The two sums.
    void (*addSamples)(const float* x, std::size_t rows, std::size_t channels,
                       const StatisticSums& sums);
    // What the harmonic and the geometric mean are made of: all the others.
    void (*addMeanTerms)(const float* x, std::size_t rows, std::size_t channels,
                         const StatisticSums& sums);
    // Both in one walk, with the same bits.
    void (*addAll)(const float* x, std::size_t rows, std::size_t channels,
                   const StatisticSums& sums);
    // mantissas[c] goes back to 1 <= m < 2; what it loses, exponents[c] gets.
    void (*takeOutExponents)(double* mantissas, std::int64_t* exponents, std::size_t channels);
    // mantissas[c] becomes the n-th root of mantissas[c] * 2^(exponents[c] - 1023 n), within 0.9
    // units of the last place. n is at least 1 and below 2^31; the root lies in the range of single
    // precision.
    void (*takeRoots)(double* mantissas, const std::int64_t* exponents, std::size_t channels,
                      double n);
    // The extremes of each column, and the first span of kSpan rows that holds them: strictly
    // greater and strictly smaller samples replace what stands there. NaN replaces nothing.
    static constexpr std::size_t kSpan = 32;
    void (*findExtremes)(const float* x, std::size_t rows, std::size_t columns, float* highest,
                         std::int32_t* highSpans, float* lowest, std::int32_t* lowSpans);
    // Of one channel: the places of the first of its largest and of its smallest samples, or `rows`
    // where none can be ranked.
    void (*findExtremesOfOne)(const float* x, std::size_t rows, std::size_t* highest,
                              std::size_t* lowest);
    // squares[c] += (x - mean[c])^2, absolutes[c] += |x - mean[c]|
    void (*addDeviations)(const float* x, std::size_t rows, std::size_t channels,
                          const double* mean, double* squares, double* absolutes);

    // Of one channel: what addSamples does for 2 * count samples and what addMeanTerms does for
    // `count` others, in one walk.
    void (*addSamplesBeside)(const float* x, const float* others, std::size_t count,
                             const StatisticSums& sums);
    // The same with addDeviations.
    void (*addDeviationsBeside)(const float* x, const float* others, std::size_t count, double mean,
                                double* squares, double* absolutes, const StatisticSums& sums);

    static const StatisticKernels baseline, avx2, avx512;
};

}  // namespace vynpack
