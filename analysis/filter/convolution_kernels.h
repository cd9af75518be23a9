// The inner loops of the convolution.
#pragma once

#include <cstddef>
#include <span>

namespace ovanlys {

// The coefficients of a filter, c[0..count-1].
struct Taps {
    const double* c;
    std::ptrdiff_t count;
    // Whether they are finite and the same from either end, as those of all linear-phase filters
    // are. Two samples that meet the same tap are added first then: three operations instead of
    // four, and one rounding less.
    bool symmetric;
};
Taps tapsOf(std::span<const double> c) noexcept;

struct ConvolutionKernels {
    // y[i] = sum_j c[j] x[i - j * distance], j ascending, for i = 0..count-1: a channel alone at
    // the distance 1, `distance` interleaved ones side by side. Of exactly these products, whatever
    // x holds; samples that are added first do not overflow below 2^1023. Reads from x[-(taps.count
    // - 1) * distance] on.
    void (*outputs)(const Taps& taps, const double* x, std::ptrdiff_t distance, double* y,
                    std::size_t count);
    // The same rounded to single precision, in the floating-point mode that the sums are made in,
    // which flushes results; right as long as that raises no underflow. A row of `distance` outputs
    // begins `stride` behind the one before; with gaps between the rows, `distance` is leastRow,
    // widestRow, or a power of two between them.
    std::size_t leastRow;
    std::size_t widestRow;
    void (*singles)(const Taps& taps, const double* x, std::ptrdiff_t distance, float* y,
                    std::size_t stride, std::size_t count);

    // Lines re + j im times the response's, in place.
    void (*multiply)(double* re, double* im, const double* responseRe, const double* responseIm,
                     std::size_t lines);

    // Lines times real numbers, in place.
    void (*scale)(double* re, double* im, const double* response, std::size_t lines);

    bool (*allFinite)(const double* x, std::size_t n);

    static const ConvolutionKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
