// The inner loops of the convolution.
#pragma once

#include <cstddef>

namespace ovanlys {

// Outputs that the kernel makes in one go.
inline constexpr int kOutputsAtOnce = 64;
// Zeros that lie before and after the taps for it.
inline constexpr int kTapPadding = 24;

struct ConvolutionKernels {
    // `blocks` times kOutputsAtOnce outputs, y[m] = sum_j c[j] x[m-j], j = 0..taps-1 ascending.
    // Reads x[-(taps-1)] to the last output's x; c has kTapPadding zeros on either side.
    void (*outputs)(const double* c, std::ptrdiff_t taps, const double* x, double* y,
                    std::ptrdiff_t blocks);

    static const ConvolutionKernels baseline, avx2, avx512;
};

}  // namespace ovanlys
