// The response of a filter block, and signals through it block by block.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <utility>
#include <vector>

#include "vynhost/interface/placed_block.h"

namespace vynhost::test {

// |sum x_i e^(-j 2 pi f i)| in dB, f relative to the sample rate.
inline double decibelsAt(const std::vector<float>& x, double f) {
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sum += static_cast<double>(x[i]) *
               std::polar(1.0, -2.0 * std::numbers::pi * f * static_cast<double>(i));
    }
    return 20.0 * std::log10(std::abs(sum));
}

// Sends interleaved values through input 0 in blocks of these lengths (in samples, in turn) and
// joins what comes out. Ends early when a block does not come through.
inline std::vector<float> throughInBlocks(PlacedBlock& block, const std::vector<float>& values,
                                          int channels, const std::vector<std::size_t>& lengths,
                                          double xStep = 1.0 / 48000) {
    std::vector<float> out;
    for (std::size_t k = 0; out.size() < values.size(); ++k) {
        const std::size_t count =
            std::min(lengths[k % lengths.size()] * channels, values.size() - out.size());
        const auto from = values.begin() + static_cast<std::ptrdiff_t>(out.size());
        const auto piece = block.process(timeSignal(
            std::vector<float>(from, from + static_cast<std::ptrdiff_t>(count)), channels, xStep));
        if (!piece || piece->values.size() != count) break;
        out.insert(out.end(), piece->values.begin(), piece->values.end());
    }
    return out;
}

// One channel of interleaved values.
inline std::vector<float> channelOf(const std::vector<float>& values, int channel, int channels) {
    std::vector<float> samples;
    for (std::size_t i = static_cast<std::size_t>(channel); i < values.size();
         i += static_cast<std::size_t>(channels)) {
        samples.push_back(values[i]);
    }
    return samples;
}

}  // namespace vynhost::test
