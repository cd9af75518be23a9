// One FIR filter over many channels, carried on from data block to data block.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "numerics/interleave.h"
#include "ovanlys/functions.h"

namespace vynpack {

class FirFilterBank {
public:
    // Full linear convolution, as the analysis library computes it.
    using Convolve = decltype(ovanlys::ZABFunc32);
    // The same for all channels in one call, with the same bits; a library may lack it.
    using ConvolveChannels = decltype(ovanlys::ovanlysConvolveChannels);

    // Every channel starts at rest. Without coefficients the output is silence.
    FirFilterBank(std::vector<double> coefficients, int channels);

    // Bytes that the bank takes at most for short data blocks; a double, so that no count overflows
    // it.
    static double bytesFor(double length, double channels) noexcept;

    // Filters interleaved samples of the bank's channels. `out` is as long as `in`; values that
    // make no whole sample become 0. Errors: std::bad_alloc, and the block may be filtered again.
    void filter(Convolve* convolve, std::span<const float> in, std::span<float> out,
                ConvolveChannels* convolveChannels = nullptr);

private:
    void filterRows(Convolve* convolve, const float* in, std::size_t samples, float* out);
    void reserve(std::size_t samples);
    void keepHistory(const float* in, std::size_t samples) noexcept;

    std::size_t past() const noexcept { return coefficients_.size() - 1; }

    std::vector<double> coefficients_;
    int channels_;
    std::vector<float> history_;  // the last past() samples of every channel, interleaved
    std::vector<double> rows_;    // per channel of a tile: its history, then its new samples
    std::vector<double> result_;  // convolution of one row
};

}  // namespace vynpack
