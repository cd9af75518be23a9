#include "blocks/filter/core/fir_filter_bank.h"

#include <algorithm>
#include <limits>
#include <new>

namespace vynpack {

FirFilterBank::FirFilterBank(std::vector<double> coefficients, int channels)
    : coefficients_(std::move(coefficients)),
      channels_(channels),
      history_(coefficients_.size() * static_cast<std::size_t>(channels)) {}

double FirFilterBank::bytesFor(double length, double channels) noexcept {
    const double rows = std::min(channels, static_cast<double>(kTileChannels));
    const double resultAndCoefficients = 3;
    return sizeof(double) * length * (channels + rows + resultAndCoefficients);
}

void FirFilterBank::reserve(std::size_t samples) {
    const std::size_t length = coefficients_.size();
    const std::size_t rows = static_cast<std::size_t>(std::min(channels_, kTileChannels));
    const std::size_t needed = rows * rowStride(length + samples);
    if (rows_.size() < needed) rows_ = std::vector<double>(needed);
    if (result_.size() < samples + 2 * length) result_ = std::vector<double>(samples + 2 * length);
}

void FirFilterBank::filter(Convolve* convolve, std::span<const float> in, std::span<float> out) {
    const std::size_t length = coefficients_.size();
    const std::size_t samples = in.size() / static_cast<std::size_t>(channels_);
    if (length == 0 || samples == 0) {
        std::fill(out.begin(), out.end(), 0.0F);
        return;
    }
    constexpr std::size_t kLongestCall = std::numeric_limits<int>::max();
    if (samples > kLongestCall - length) throw std::bad_alloc();
    reserve(samples);

    const std::size_t stride = rowStride(length + samples);
    forEachTile(channels_, samples, [&](const ChannelTile& tile) {
        double* newSamples = rows_.data() + length;
        splitChannels(in.data(), tile, newSamples, stride);
        for (int r = 0; r < tile.count; ++r) {
            filterRow(convolve, static_cast<std::size_t>(tile.first + r),
                      rows_.data() + static_cast<std::size_t>(r) * stride, samples);
        }
        joinChannels(newSamples, stride, tile, out.data());
    });
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(samples) * channels_, out.end(), 0.0F);
}

// The row enters with the samples behind room for the history and leaves with the result there.
void FirFilterBank::filterRow(Convolve* convolve, std::size_t channel, double* row,
                              std::size_t samples) {
    const std::size_t length = coefficients_.size();
    double* history = history_.data() + channel * length;
    std::copy_n(history, length, row);
    std::copy_n(row + samples, length, history);
    convolve(coefficients_.data(), static_cast<std::int64_t>(length), row,
             static_cast<int>(samples + length), result_.data());
    std::copy_n(result_.data() + length, samples, row + length);
}

}  // namespace vynpack
