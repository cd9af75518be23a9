#include "blocks/filter/core/fir_filter_bank.h"

#include <algorithm>
#include <limits>
#include <new>

namespace vynpack {

FirFilterBank::FirFilterBank(std::vector<double> coefficients, int channels)
    : coefficients_(std::move(coefficients)), channels_(channels) {
    if (!coefficients_.empty()) history_.resize(past() * static_cast<std::size_t>(channels));
}

double FirFilterBank::bytesFor(double length, double channels) noexcept {
    const double rows = std::min(channels, static_cast<double>(kTileChannels));
    const double resultAndCoefficients = 3;
    return sizeof(double) * length * (channels + rows + resultAndCoefficients);
}

void FirFilterBank::filter(Convolve* convolve, std::span<const float> in, std::span<float> out,
                           ConvolveChannels* convolveChannels) {
    const std::size_t length = coefficients_.size();
    const std::size_t samples = in.size() / static_cast<std::size_t>(channels_);
    if (length == 0 || samples == 0) {
        std::fill(out.begin(), out.end(), 0.0F);
        return;
    }
    constexpr std::size_t kLongestCall = std::numeric_limits<int>::max();
    if (samples > kLongestCall - length) throw std::bad_alloc();
    const bool together =
        convolveChannels != nullptr &&
        convolveChannels(coefficients_.data(), static_cast<std::int64_t>(length), history_.data(),
                         in.data(), static_cast<int>(samples), channels_, out.data()) == 0;
    if (!together) filterRows(convolve, in.data(), samples, out.data());
    keepHistory(in.data(), samples);
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(samples) * channels_, out.end(), 0.0F);
}

// Of a row's convolution those outputs count that see all taps.
void FirFilterBank::filterRows(Convolve* convolve, const float* in, std::size_t samples,
                               float* out) {
    reserve(samples);
    const std::size_t stride = rowStride(past() + samples);
    forEachTile(channels_, samples, [&](const ChannelTile& tile) {
        double* const newSamples = rows_.data() + past();
        const ChannelTile pastTile{tile.channels, tile.first, tile.count, past()};
        splitChannels(history_.data(), pastTile, rows_.data(), stride);
        splitChannels(in, tile, newSamples, stride);
        for (int r = 0; r < tile.count; ++r) {
            double* const row = rows_.data() + static_cast<std::size_t>(r) * stride;
            const int status =
                convolve(coefficients_.data(), static_cast<std::int64_t>(coefficients_.size()), row,
                         static_cast<int>(past() + samples), result_.data());
            if (status != 0) throw std::bad_alloc();
            std::copy_n(result_.data() + past(), samples, row + past());
        }
        joinChannels(newSamples, stride, tile, out);
    });
}

void FirFilterBank::reserve(std::size_t samples) {
    const std::size_t rows = static_cast<std::size_t>(std::min(channels_, kTileChannels));
    const std::size_t needed = rows * rowStride(past() + samples);
    if (rows_.size() < needed) rows_ = std::vector<double>(needed);
    const std::size_t results = past() + samples + coefficients_.size();
    if (result_.size() < results) result_ = std::vector<double>(results);
}

void FirFilterBank::keepHistory(const float* in, std::size_t samples) noexcept {
    const std::size_t step = static_cast<std::size_t>(channels_);
    const std::size_t added = std::min(samples, past());
    const auto kept = std::copy(history_.begin() + static_cast<std::ptrdiff_t>(added * step),
                                history_.end(), history_.begin());
    std::copy_n(in + (samples - added) * step, added * step, kept);
}

}  // namespace vynpack
