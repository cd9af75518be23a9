#include "blocks/filter/weighting/spectrum_weighting.h"

#include <algorithm>
#include <cmath>

namespace vynpack {
namespace {

constexpr double kBandOf1kHz = 18.0;

float weightedLevel(float value, double weight) noexcept {
    return value == kNoValue ? value : static_cast<float>(static_cast<double>(value) + weight);
}

// A level of the amplitude relative to a reference, weighted and taken back, is the amplitude times
// a factor. NaN stays NaN.
float scaled(float value, double factor) noexcept {
    return value <= 0.0F ? 0.0F : static_cast<float>(static_cast<double>(value) * factor);
}

template <class Weigh>
void weighLines(std::span<const double> weights, std::span<const float> in, std::size_t channels,
                std::span<float> out, Weigh weigh) {
    std::size_t at = 0;
    for (const double weight : weights) {
        for (const std::size_t end = at + channels; at < end; ++at)
            out[at] = weigh(in[at], weight);
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(at), out.end(), 0.0F);
}

}  // namespace

double SpectrumAxis::frequency(std::size_t line) const noexcept {
    const auto i = static_cast<double>(line);
    if (lines == SpectrumLines::frequencies) return start * unit + i * (step * unit);
    // Kept: the first octave counts as a third-octave band number too, so that octave spectra are
    // weighted as their bands say only when they begin with band 0.
    const double bandsPerLine = lines == SpectrumLines::octaves ? 3.0 : 1.0;
    return std::pow(10.0, 3.0 + (start - kBandOf1kHz + i * bandsPerLine) / 10.0);
}

void SpectrumWeighting::prepare(const Key& key) {
    if (key_ == key) return;
    key_.reset();
    weights_.resize(key.axis.count);
    const double perDecade = key.kind == SpectrumValues::powers ? 10.0 : 20.0;
    for (std::size_t i = 0; i < weights_.size(); ++i) {
        const double level = weightingInTenths(key.curve, key.axis.frequency(i));
        weights_[i] =
            key.kind == SpectrumValues::levels ? level : std::pow(10.0, level / perDecade);
    }
    key_ = key;
}

void SpectrumWeighting::apply(WeightingCurve curve, SpectrumValues kind, const SpectrumAxis& axis,
                              std::span<const float> in, int channels, std::span<float> out) {
    prepare({curve, kind, axis});
    const auto perLine = static_cast<std::size_t>(channels);
    if (kind == SpectrumValues::levels) {
        weighLines(weights_, in, perLine, out, weightedLevel);
    } else {
        weighLines(weights_, in, perLine, out, scaled);
    }
}

}  // namespace vynpack
