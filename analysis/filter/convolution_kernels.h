// The inner loops of the convolution.
#pragma once

#include <cstddef>

namespace ovanlys {

// Outputs that `outputs` makes in one go.
inline constexpr int kOutputsAtOnce = 64;

struct ConvolutionKernels {
    // `blocks` times kOutputsAtOnce outputs, y[m] = sum_j c[j] x[m-j], j = 0..taps-1 ascending: of
    // exactly these products, whatever x holds. Reads x[-(taps-1)] to the last output's x.
    void (*outputs)(const double* c, std::ptrdiff_t taps, const double* x, double* y,
                    std::ptrdiff_t blocks);

    // The same sums for neighbouring channels: sample m of channel k is x[m * channels + k],
    // `count` outputs of each go to y in the same order. Multiples of channelStep channels fill
    // registers.
    std::size_t channelStep;
    void (*channelOutputs)(const double* c, std::ptrdiff_t taps, const double* x,
                           std::size_t channels, double* y, std::size_t count);
    // The same outputs rounded to single precision, in the floating-point mode that the sums are
    // made in, which flushes results; right as long as that raises no underflow. Output m of
    // channel k is y[m * stride + k].
    void (*channelSingles)(const double* c, std::ptrdiff_t taps, const double* x,
                           std::size_t channels, float* y, std::size_t stride, std::size_t count);

    // Lines re + j im times the response's, in place.
    void (*multiply)(double* re, double* im, const double* responseRe, const double* responseIm,
                     std::size_t lines);

    bool (*allFinite)(const double* x, std::size_t n);

    static const ConvolutionKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
