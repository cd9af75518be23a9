#include "blocks/spectral/core/inverse_fft_core.h"

#include <cstddef>

namespace vynpack {

void InverseSpectrum::prepare(int n) {
    if (n == n_) return;
    release();
    real_.resize(static_cast<std::size_t>(n));
    imaginary_.resize(static_cast<std::size_t>(n));
    n_ = n;
}

void InverseSpectrum::release() { *this = {}; }

void InverseSpectrum::takeLines(std::span<const float> reals, std::span<const float> imaginaries,
                                std::size_t channel, std::size_t stride) {
    const std::size_t n = real_.size();
    const std::size_t middle = n / 2;
    const auto re = [&](std::size_t line) { return reals[channel + line * stride]; };
    const auto im = [&](std::size_t line) { return imaginaries[channel + line * stride]; };

    for (std::size_t k = 0; k + 1 < middle; ++k) {
        real_[k] = re(k);
        imaginary_[k] = im(k);
        real_[n - k - 1] = re(k + 1);
        imaginary_[n - k - 1] = -im(k + 1);
    }
    real_[middle - 1] = re(middle - 1);
    imaginary_[middle - 1] = im(middle - 1);
    // Kept: the Nyquist line is taken without the channel stride, so that with several channels it
    // is another channel's value.
    real_[middle] = reals[channel + middle - 1];
    imaginary_[middle] = 0.0;
    // An odd length has one element that no line maps to.
    if (n % 2 != 0) real_[middle + 1] = imaginary_[middle + 1] = 0.0;
}

void InverseSpectrum::synthesise(std::span<const float> reals, std::span<const float> imaginaries,
                                 int channels, InverseRealTransform transform,
                                 std::span<float> samples) {
    const auto stride = static_cast<std::size_t>(channels);
    const auto length = static_cast<float>(n_);
    for (std::size_t c = 0; c < stride; ++c) {
        takeLines(reals, imaginaries, c, stride);
        transform(real_.data(), imaginary_.data(), n_);
        for (std::size_t i = 0; i < real_.size(); ++i) {
            samples[c + i * stride] = static_cast<float>(real_[i]) * length / 2.0F;
        }
    }
}

}  // namespace vynpack
