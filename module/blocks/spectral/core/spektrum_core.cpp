#include "blocks/spectral/core/spektrum_core.h"

#include <algorithm>

#include "blocks/spectral/core/spectrum_kernels.h"
#include "kernels/level.h"
#include "numerics/interleave.h"

namespace vynpack {

void SpectrumAnalysis::prepare(int n) {
    if (n == n_) return;
    release();
    const auto values = static_cast<std::size_t>(n);
    real_.resize(values + 2);
    imaginary_.resize(values);
    result_.resize(values);
    n_ = n;
}

void SpectrumAnalysis::release() { *this = {}; }

void SpectrumAnalysis::toAmplitudes(const SpectrumSettings& settings, std::size_t lines,
                                    RealTransform transform) {
    if (settings.amplitudeType == kRealImaginary) {
        std::copy_n(real_.begin(), lines, result_.begin());
        return;
    }
    std::fill_n(result_.begin(), lines, 0.0);
    convertSpectrum(std::span(real_).first(lines), std::span(imaginary_).first(lines),
                    conversionKind(settings.amplitudeType), std::span(result_).first(lines),
                    transform, cepstrumWork_);
}

void SpectrumAnalysis::analyse(const SpectrumSettings& settings, std::span<const float> samples,
                               int channels, double resolution, RealTransform transform,
                               std::span<float> amplitudes, std::span<float> phases) {
    window_.choose(settings.window, settings.windowParameter, n_);
    if (channels == 1) {
        analyseChannel(settings, samples.data(), resolution, transform,
                       {amplitudes.data(), phases.empty() ? nullptr : phases.data()});
        return;
    }
    const auto n = static_cast<std::size_t>(n_);
    const std::size_t stride = rowStride(n);
    rows_.resize(stride * static_cast<std::size_t>(std::min(channels, kTileChannels)));
    float* const phaseRows = rows_.data() + phaseLines(n_);  // behind the amplitudes
    forEachTile(channels, n, [&](ChannelTile tile) {
        splitChannels(samples.data(), tile, rows_.data(), stride);
        for (int r = 0; r < tile.count; ++r) {
            const std::size_t row = static_cast<std::size_t>(r) * stride;
            analyseChannel(settings, &rows_[row], resolution, transform,
                           {&rows_[row], phases.empty() ? nullptr : phaseRows + row});
        }
        tile.samples = static_cast<std::size_t>(amplitudeLines(settings.amplitudeType, n_));
        joinChannels(rows_.data(), stride, tile, amplitudes.data());
        if (phases.empty()) return;
        tile.samples = static_cast<std::size_t>(phaseLines(n_));
        joinChannels(phaseRows, stride, tile, phases.data());
    });
}

void SpectrumAnalysis::analyseChannel(const SpectrumSettings& settings, const float* samples,
                                      double resolution, RealTransform transform,
                                      const Lines& lines) {
    const SpectrumKernels& kernels = vyn::kernelsAt<SpectrumKernels>();
    const auto lineCount = static_cast<std::size_t>(amplitudeLines(settings.amplitudeType, n_));
    const auto phaseLineCount = static_cast<std::size_t>(phaseLines(n_));
    const auto halfLength = static_cast<float>(n_ / 2);

    kernels.takeSamples(samples, halfLength, window_.weights(), real_.data(),
                        static_cast<std::size_t>(n_));
    transform(real_.data(), imaginary_.data(), n_);
    if (settings.correction != kNoCorrection && settings.window != kNoWindow) {
        const double correction =
            correctionFactor(settings.correction - kEnergyCorrection, window_.factors());
        kernels.scale(real_.data(), correction, lineCount);
        kernels.scale(imaginary_.data(), correction, lineCount);
    }

    toAmplitudes(settings, lineCount, transform);
    if (settings.amplitudeType == kPowerDensity) {
        kernels.putDensities(result_.data(), static_cast<float>(resolution), lines.amplitudes,
                             lineCount);
    } else {
        kernels.putLines(result_.data(), lines.amplitudes, lineCount);
    }

    if (lines.phases == nullptr) return;
    if (settings.amplitudeType != kRealImaginary) {
        const auto phase = std::span(imaginary_).first(phaseLineCount);
        convertSpectrum(std::span(real_).first(phaseLineCount), phase, kToPhase, phase, transform,
                        cepstrumWork_);
    }
    kernels.putLines(imaginary_.data(), lines.phases, phaseLineCount);
}

}  // namespace vynpack
