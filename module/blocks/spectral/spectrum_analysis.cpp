#include "spectral/spectrum_analysis.h"

#include <algorithm>

#include "spectral/spectrum_kernels.h"

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
    const SpectrumKernels& kernels = spectrumKernels();
    const auto stride = static_cast<std::size_t>(channels);
    const auto n = static_cast<std::size_t>(n_);
    const auto lines = static_cast<std::size_t>(amplitudeLines(settings.amplitudeType, n_));
    const auto phaseLineCount = static_cast<std::size_t>(phaseLines(n_));
    const auto halfLength = static_cast<float>(n_ / 2);

    window_.choose(settings.window, settings.windowParameter, n_);
    const bool corrects = settings.correction != kNoCorrection && settings.window != kNoWindow;
    const double correction =
        corrects ? correctionFactor(settings.correction - kEnergyCorrection, window_.factors())
                 : 1.0;

    for (std::size_t c = 0; c < stride; ++c) {
        kernels.takeSamples(samples.data() + c, stride, halfLength, window_.weights(), real_.data(),
                            n);
        transform(real_.data(), imaginary_.data(), n_);
        if (corrects) {
            kernels.scale(real_.data(), correction, lines);
            kernels.scale(imaginary_.data(), correction, lines);
        }

        toAmplitudes(settings, lines, transform);
        if (settings.amplitudeType == kPowerDensity) {
            kernels.putDensities(result_.data(), static_cast<float>(resolution),
                                 amplitudes.data() + c, stride, lines);
        } else {
            kernels.putLines(result_.data(), amplitudes.data() + c, stride, lines);
        }

        if (phases.empty()) continue;
        if (settings.amplitudeType != kRealImaginary) {
            const auto phase = std::span(imaginary_).first(phaseLineCount);
            convertSpectrum(std::span(real_).first(phaseLineCount), phase, kToPhase, phase,
                            transform, cepstrumWork_);
        }
        kernels.putLines(imaginary_.data(), phases.data() + c, stride, phaseLineCount);
    }
}

}  // namespace vynpack
