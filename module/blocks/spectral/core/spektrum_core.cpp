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
    real_.assign(values + 2);
    imaginary_.assign(values);
    result_.assign(values / 2);
    n_ = n;
}

void SpectrumAnalysis::release() { *this = {}; }

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
    const std::size_t rows = stride * static_cast<std::size_t>(std::min(channels, kTileChannels));
    if (rows_.size() != rows) rows_.assign(rows);
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
    const bool corrects = settings.correction != kNoCorrection && settings.window != kNoWindow;
    const double correction =
        corrects ? correctionFactor(settings.correction - kEnergyCorrection, window_.factors())
                 : 1.0;
    const int kind = conversionKind(settings.amplitudeType);
    const bool inOnePass = kind >= kToMagnitude && kind <= kToPower;
    if (inOnePass) {
        const bool density = settings.amplitudeType == kPowerDensity;
        kernels.putConverted[kind](real_.data(), imaginary_.data(), correction,
                                   density ? static_cast<float>(resolution) : 1.0F,
                                   lines.amplitudes, lineCount);
        if (lines.phases == nullptr) return;
    }
    if (corrects) {
        kernels.scale(real_.data(), correction, lineCount);
        kernels.scale(imaginary_.data(), correction, lineCount);
    }
    if (settings.amplitudeType == kRealImaginary) {
        kernels.putLines(real_.data(), lines.amplitudes, lineCount);
    } else if (!inOnePass) {
        const auto result = result_.first(lineCount);
        std::ranges::fill(result, 0.0);
        convertSpectrum(real_.first(lineCount), imaginary_.first(lineCount), kind, result,
                        transform, cepstrumWork_);
        kernels.putLines(result.data(), lines.amplitudes, lineCount);
    }

    if (lines.phases == nullptr) return;
    if (settings.amplitudeType != kRealImaginary) {
        const auto phase = imaginary_.first(phaseLineCount);
        convertSpectrum(real_.first(phaseLineCount), phase, kToPhase, phase, transform,
                        cepstrumWork_);
    }
    kernels.putLines(imaginary_.data(), lines.phases, phaseLineCount);
}

}  // namespace vynpack
