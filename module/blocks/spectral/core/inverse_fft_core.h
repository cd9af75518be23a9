// Time signals from one-sided spectra.
#pragma once

#include <span>
#include <vector>

namespace vynpack {

// The analysis library's inverse real FFT, in place over n lines; the samples are in `re`
// afterwards.
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
    void takeLines(std::span<const float> reals, std::span<const float> imaginaries,
                   std::size_t channel, std::size_t stride);

    int n_ = -1;
    std::vector<double> real_;
    std::vector<double> imaginary_;
};

}  // namespace vynpack
