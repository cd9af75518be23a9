#include "blocks/spectral/core/inverse_fft_core.h"

#include <algorithm>

#include "blocks/spectral/core/spectrum_kernels.h"
#include "kernels/level.h"
#include "numerics/interleave.h"

namespace vynpack {

void InverseSpectrum::prepare(int n) {
    if (n == n_) return;
    release();
    real_.assign(static_cast<std::size_t>(n));
    imaginary_.assign(static_cast<std::size_t>(n));
    n_ = n;
}

void InverseSpectrum::release() { *this = {}; }

void InverseSpectrum::synthesise(std::span<const float> reals, std::span<const float> imaginaries,
                                 int channels, InverseRealTransform transform,
                                 std::span<float> samples) {
    const auto n = static_cast<std::size_t>(n_);
    const std::size_t lines = n / 2;
    // Kept: the Nyquist line is taken without the channel stride, so that with several channels it
    // is another channel's value.
    const auto nyquist = [&](int channel) {
        return reals[static_cast<std::size_t>(channel) + lines - 1];
    };
    if (channels == 1) {
        synthesiseChannel(reals.data(), imaginaries.data(), nyquist(0), transform, samples.data());
        return;
    }
    const std::size_t stride = rowStride(n);
    const std::size_t rows = stride * static_cast<std::size_t>(std::min(channels, kTileChannels));
    if (rows_.size() != rows) rows_.assign(rows);
    forEachTile(channels, n, [&](ChannelTile tile) {
        tile.samples = lines;
        splitChannels(reals.data(), tile, rows_.data(), stride);
        splitChannels(imaginaries.data(), tile, rows_.data() + lines, stride);
        for (int r = 0; r < tile.count; ++r) {
            float* const row = rows_.data() + static_cast<std::size_t>(r) * stride;
            synthesiseChannel(row, row + lines, nyquist(tile.first + r), transform, row);
        }
        tile.samples = n;
        joinChannels(rows_.data(), stride, tile, samples.data());
    });
}

void InverseSpectrum::synthesiseChannel(const float* reals, const float* imaginaries, float nyquist,
                                        InverseRealTransform transform, float* samples) {
    const SpectrumKernels& kernels = vyn::kernelsAt<SpectrumKernels>();
    const auto n = static_cast<std::size_t>(n_);
    const std::size_t lines = n / 2;
    kernels.takeSamples(reals, 1.0F, nullptr, real_.data(), lines);
    kernels.takeSamples(imaginaries, 1.0F, nullptr, imaginary_.data(), lines);
    real_[lines] = nyquist;
    imaginary_[lines] = 0.0;
    transform(real_.data(), imaginary_.data(), n_);
    kernels.putSamples(real_.data(), static_cast<float>(n_), samples, n);
}

}  // namespace vynpack
