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

    // Every channel starts at rest. Without coefficients the output is silence.
    FirFilterBank(std::vector<double> coefficients, int channels);

    // Bytes that the bank takes for short data blocks; a double, so that no count overflows it.
    static double bytesFor(double length, double channels) noexcept;

    // Filters interleaved samples of the bank's channels. `out` is as long as `in`; values that
    // make no whole sample become 0.
    void filter(Convolve* convolve, std::span<const float> in, std::span<float> out);

private:
    void reserve(std::size_t samples);
    void filterRow(Convolve* convolve, std::size_t channel, double* row, std::size_t samples);

    std::vector<double> coefficients_;
    int channels_;
    std::vector<double> history_;  // the last samples of channel c, `length` of them at c * length
    std::vector<double> rows_;     // per channel of a tile: its history, then its new samples
    std::vector<double> result_;   // convolution of one row
};

}  // namespace vynpack
