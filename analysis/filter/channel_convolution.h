// Interleaved single-precision channels through one FIR filter.
#pragma once

#include <cstddef>
#include <span>

#include "kernels/level.h"

namespace ovanlys {

// A data block: sample i of channel k is in[i * channels + k].
struct ChannelSamples {
    std::size_t channels;
    const float* before;  // the taps - 1 samples of each channel before the block
    const float* in;
    std::size_t count;  // of each channel
};

// y_i = sum_j c[j] x_(i-j) for all samples of the block, to `out` in the order of `in`, which it
// does not overlap. The bits are those of `convolve` on the samples as doubles, from before the
// block on, rounded to single precision. Errors: std::bad_alloc before `out` is touched.
void convolveChannels(std::span<const double> c, const ChannelSamples& x, float* out,
                      vyn::KernelLevel level = vyn::kernelLevel());

}  // namespace ovanlys
