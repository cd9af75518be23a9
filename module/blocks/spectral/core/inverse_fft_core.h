// Time signals from one-sided spectra.
#pragma once

#include <cstddef>
#include <span>

#include "kernels/aligned_array.h"

namespace vynpack {

// The analysis library's inverse real FFT, in place over the lines 0..n/2; the n samples are in
// `re` afterwards. Both arrays have room for n numbers.
using InverseRealTransform = int (*)(double* re, double* im, int n);

// Keeps its work buffers from block to block.
class InverseSpectrum {
public:
    // Builds n samples per channel from n/2 lines per channel from here on; n >= 2.
    void prepare(int n);
    // Releases the buffers.
    void release();

    // Line k of channel c lies at c + k * channels in `reals` and `imaginaries`, sample i likewise
    // in `samples`, which takes n per channel. An amplitude of 1 in the spectrum gives an amplitude
    // of 1.
    void synthesise(std::span<const float> reals, std::span<const float> imaginaries, int channels,
                    InverseRealTransform transform, std::span<float> samples);

private:
    void synthesiseChannel(const float* reals, const float* imaginaries, float nyquist,
                           InverseRealTransform transform, float* samples);

    int n_ = -1;
    vyn::AlignedArray<double> real_{0};
    vyn::AlignedArray<double> imaginary_{1};
    // A few channels side by side: each row holds the lines of one, first the real parts, and, in
    // their place, its samples afterwards.
    vyn::AlignedArray<float> rows_{2};
};

}  // namespace vynpack
