#include "blocks/spectral/core/dual_spektrum_core.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "blocks/spectral/core/spectrum_kernels.h"
#include "kernels/level.h"
#include "numerics/interleave.h"

namespace vynpack {
namespace {

// All that is done to these many lines stays in the nearest caches, and the averages of so many are
// long enough a stretch of memory to be fetched ahead.
constexpr std::size_t kLinesTogether = 512;

ConstComplexLines constant(ComplexLines lines) { return {lines.re, lines.im}; }

bool computesCepstrum(const DualSpectrumSettings& settings) {
    return settings.averagesPower() || settings.amplitudeType == kCepstrum;
}

// From an averaged power to the amplitude type.
void convertPower(std::uint16_t amplitudeType, std::span<double> lines) {
    switch (amplitudeType) {
        case kPeak:
            for (double& line : lines)
                line = std::sqrt(line);
            break;
        case kRms:
            for (double& line : lines)
                line = std::sqrt(line / 2.0);
            break;
        case kPowerSpectrum:
        case kPowerDensity:
            for (double& line : lines)
                line = line / 2.0;
            break;
        default: break;
    }
}

}  // namespace

void DualSpectrum::Spectrum::assign(std::size_t values) {
    re.assign(values);
    im.assign(values);
}

void DualSpectrum::prepare(const DualSpectrumSettings& settings, int n, int channels) {
    const auto samples = static_cast<std::size_t>(n);
    const auto lineCount = static_cast<std::size_t>(lines(n));
    if (n != n_ || channels != channels_) {
        release();
        for (Spectrum* spectrum : {&excitation_, &response_})
            spectrum->assign(samples + 2);
        for (Spectrum* spectrum : {&cross_, &transfer_})
            spectrum->assign(lineCount);
        for (auto* work :
             {&responsePower_, &excitationPower_, &zeros_, &amplitude_, &phase_, &coherence_}) {
            work->assign(lineCount);
        }
        const auto tile =
            static_cast<std::size_t>(channels > 1 ? std::min(channels, kTileChannels) : 0);
        for (auto* rows : {&excitationRows_, &responseRows_})
            rows->assign(tile * rowStride(samples));
        n_ = n;
        channels_ = channels;
    }
    if (computesCepstrum(settings)) cepstrumWork_.reserve(2 * lineCount);
    averages_.hold(settings, lineCount * static_cast<std::size_t>(channels_), progress_);
    window_.choose(settings.window, settings.windowParameter, n);
}

void DualSpectrum::analyse(const DualSpectrumSettings& settings, const DualSignal& signal,
                           double resolution, double weightGrowth, RealTransform transform,
                           const DualSpectrumOutputs& outputs) {
    progress_.beginBlock();
    const auto place = [](std::span<float> output, float* row) {
        return output.empty() ? nullptr : row;
    };
    const auto toPlaces = [&](float* amplitudes, float* phases, float* coherences) {
        return OutputRows{place(outputs.amplitudes, amplitudes), place(outputs.phases, phases),
                          place(outputs.coherences, coherences)};
    };
    if (channels_ == 1) {
        analyseChannel(
            settings, 0, {signal.excitation.data(), signal.response.data()}, resolution, transform,
            toPlaces(outputs.amplitudes.data(), outputs.phases.data(), outputs.coherences.data()));
    } else if (lines(n_) > 0) {
        const std::size_t stride = rowStride(static_cast<std::size_t>(n_));
        forEachTile(channels_, static_cast<std::size_t>(n_), [&](ChannelTile tile) {
            float* const excitation = excitationRows_.data();
            float* const response = responseRows_.data();
            const OutputRows rows = toPlaces(excitation, excitation + lines(n_), response);
            splitChannels(signal.excitation.data(), tile, excitation, stride);
            splitChannels(signal.response.data(), tile, response, stride);
            for (int r = 0; r < tile.count; ++r) {
                const std::size_t row = static_cast<std::size_t>(r) * stride;
                analyseChannel(
                    settings, static_cast<std::size_t>(tile.first + r),
                    {excitation + row, response + row}, resolution, transform,
                    toPlaces(excitation + row, excitation + row + lines(n_), response + row));
            }
            tile.samples = static_cast<std::size_t>(lines(n_));
            for (const auto& [from, to] : {std::pair(rows.amplitudes, outputs.amplitudes),
                                           {rows.phases, outputs.phases},
                                           {rows.coherences, outputs.coherences}}) {
                if (from != nullptr) joinChannels(from, stride, tile, to.data());
            }
        });
    }
    progress_.endBlock(weightGrowth);
}

void DualSpectrum::analyseChannel(const DualSpectrumSettings& settings, std::size_t channel,
                                  const SignalRows& signal, double resolution,
                                  RealTransform transform, const OutputRows& outputs) {
    const bool corrects = settings.correction != kNoCorrection && settings.window != kNoWindow;
    const LineScale scale = {
        .divisor = static_cast<double>(n_ / 2),
        .exactReciprocal = std::has_single_bit(static_cast<unsigned>(n_ / 2)),
        .factor = corrects
                      ? correctionFactor(settings.correction - kEnergyCorrection, window_.factors())
                      : 1.0};
    const auto lineCount = static_cast<std::size_t>(lines(n_));
    // A cepstrum needs all lines at once.
    const std::size_t together = computesCepstrum(settings) ? lineCount : kLinesTogether;

    if (lineCount == 0) return;
    transformRow(signal.excitation, transform, excitation_);
    transformRow(signal.response, transform, response_);
    for (std::size_t first = 0; first < lineCount; first += together) {
        const LineRange range = {channel, first, std::min(together, lineCount - first)};
        analyseLines(settings, range, scale, resolution, transform, outputs);
    }
}

void DualSpectrum::transformRow(const float* samples, RealTransform transform,
                                Spectrum& spectrum) const {
    vyn::kernelsAt<SpectrumKernels>().takeSamples(samples, 1.0F, window_.weights(),
                                                  spectrum.re.data(), static_cast<std::size_t>(n_));
    transform(spectrum.re.data(), spectrum.im.data(), n_);
}

void DualSpectrum::analyseLines(const DualSpectrumSettings& settings, const LineRange& range,
                                const LineScale& scale, double resolution, RealTransform transform,
                                const OutputRows& outputs) {
    if (dividesInOnePass(settings, outputs)) {
        averageAndDivide(settings, range, scale, resolution, outputs);
        return;
    }
    const ComplexLines cross = cross_.from(range.first);
    double* const responsePower = work(responsePower_, range).data();
    double* const excitationPower = work(excitationPower_, range).data();
    vyn::kernelsAt<DualSpectrumKernels>().multiply(
        constant(response_.from(range.first)), constant(excitation_.from(range.first)), scale,
        cross, responsePower, excitationPower, range.count);
    const Products present = {constant(cross), responsePower, excitationPower};
    const Products coherence =
        settings.coherence ? averages_.forCoherence(progress_, amongAverages(range), present)
                           : Products{};

    const ConstComplexLines result =
        settings.crossSpectrum ? present.cross
                               : transferFunction(settings, range, scale, present, coherence);
    const double* first = amplitudes(settings, range, result, transform);
    // Phases are not averaged, so that those which nobody sees need not be computed.
    const bool showsSecond = settings.realImaginary() || outputs.phases != nullptr;
    const double* second = showsSecond ? phases(settings, range, result) : nullptr;
    const double* third = settings.coherence ? coherences(range, coherence) : nullptr;

    if (settings.amplitudeType == kPowerDensity && outputs.amplitudes != nullptr) {
        vyn::kernelsAt<SpectrumKernels>().putDensities(
            first, static_cast<float>(resolution), outputs.amplitudes + range.first, range.count);
    } else {
        put(first, range, outputs.amplitudes);
    }
    put(second, range, outputs.phases);
    put(third, range, outputs.coherences);
}

// H1 and H2 with a coherence of the same averages, without phases: what they are mostly used for.
bool DualSpectrum::dividesInOnePass(const DualSpectrumSettings& settings,
                                    const OutputRows& outputs) const {
    const int kind = conversionKind(settings.amplitudeType);
    return averages_.shared() && kind >= kToMagnitude && kind <= kToPower &&
           outputs.phases == nullptr;
}

void DualSpectrum::averageAndDivide(const DualSpectrumSettings& settings, const LineRange& range,
                                    const LineScale& scale, double resolution,
                                    const OutputRows& outputs) {
    const DualSpectrumKernels& kernels = vyn::kernelsAt<DualSpectrumKernels>();
    const ComplexLines x = excitation_.from(range.first);
    const ComplexLines y = response_.from(range.first);
    LineScale left = scale;
    if (!scale.exactReciprocal) {
        kernels.scaleLines(x, scale, range.count);
        kernels.scaleLines(y, scale, range.count);
        left = {.divisor = 1.0, .exactReciprocal = true, .factor = 1.0};
    }
    const auto row = [&](float* output) {
        return output != nullptr ? output + range.first : nullptr;
    };
    const bool density = settings.amplitudeType == kPowerDensity;
    kernels.averageAndDivide(constant(y), constant(x), left,
                             averages_.coherencePlaces(amongAverages(range)),
                             static_cast<double>(progress_.blocks()),
                             {.h2 = settings.transferType == kTransferH2,
                              .conversion = conversionKind(settings.amplitudeType),
                              .divisor = density ? static_cast<float>(resolution) : 1.0F,
                              .amplitudes = row(outputs.amplitudes),
                              .coherences = row(outputs.coherences)},
                             range.count);
}

ConstComplexLines DualSpectrum::transferFunction(const DualSpectrumSettings& settings,
                                                 const LineRange& range, const LineScale& scale,
                                                 const Products& present,
                                                 const Products& coherence) {
    const DualSpectrumKernels& kernels = vyn::kernelsAt<DualSpectrumKernels>();
    const ComplexLines result = transfer_.from(range.first);
    // Kept: every result is the conjugate of its quotient. The one that H1 divides is conjugate
    // itself, so that imaginary parts of H0 and H2 go out with the opposite sign, those of H1 not.
    if (!settings.dividesProducts()) {
        const ComplexLines x = excitation_.from(range.first);
        const ComplexLines y = response_.from(range.first);
        kernels.scaleLines(x, scale, range.count);
        kernels.scaleLines(y, scale, range.count);
        kernels.divideConjugate(constant(y), constant(x), result, range.count);
        return constant(result);
    }
    const Products products =
        averages_.forTransfer(settings, progress_, amongAverages(range), present, coherence);
    if (settings.transferType == kTransferH1) {
        kernels.divideConjugate(products.cross, {products.excitationPower, zeros_.data()}, result,
                                range.count);
    } else {
        kernels.divideConjugate({products.responsePower, zeros_.data()}, products.cross, result,
                                range.count);
    }
    return constant(result);
}

const double* DualSpectrum::amplitudes(const DualSpectrumSettings& settings, const LineRange& range,
                                       ConstComplexLines lines, RealTransform transform) {
    const AverageRule rule = averageRule(settings.averageType, progress_);
    if (settings.realImaginary()) {
        return settings.averagesResult()
                   ? averages_.ofAmplitudes(rule, amongAverages(range), lines.re)
                   : lines.re;
    }
    const std::span<double> amplitude = work(amplitude_, range);
    // Kept: the power that is averaged before the conversion is the cepstrum, by the number of its
    // conversion.
    const int kind =
        settings.averagesPower() ? kToCepstrum : conversionKind(settings.amplitudeType);
    // What the conversion leaves alone is 0, not what the channel before had.
    if (kind < kToMagnitude || kind > kToPower) std::fill(amplitude.begin(), amplitude.end(), 0.0);
    convertSpectrum({lines.re, range.count}, {lines.im, range.count}, kind, amplitude, transform,
                    cepstrumWork_);
    if (settings.averagesPower()) {
        // Kept: H1 and H2 keep what they divide in the same averages.
        const double* power = averages_.ofAmplitudes(rule, amongAverages(range), amplitude.data());
        std::copy_n(power, range.count, amplitude.begin());
        convertPower(settings.amplitudeType, amplitude);
    } else if (settings.averagesResult()) {
        return averages_.ofAmplitudes(rule, amongAverages(range), amplitude.data());
    }
    return amplitude.data();
}

const double* DualSpectrum::phases(const DualSpectrumSettings& settings, const LineRange& range,
                                   ConstComplexLines lines) {
    if (settings.realImaginary()) {
        const AverageRule rule = averageRule(settings.averageType, progress_);
        return settings.averagesResult()
                   ? averages_.ofImaginaryParts(rule, amongAverages(range), lines.im)
                   : lines.im;
    }
    if (!settings.phase) return nullptr;
    const std::span<double> phase = work(phase_, range);
    convertSpectrum({lines.re, range.count}, {lines.im, range.count}, kToPhase, phase, nullptr,
                    cepstrumWork_);
    // Undoes the conjugate of H0 and H2.
    // Kept: the chosen transfer function decides for the cross spectrum, too.
    if (settings.transferType != kTransferH1) {
        for (double& angle : phase)
            angle = -angle;
    }
    return phase.data();
}

// |S_xy|^2 / (S_xx S_yy) of the averaged products (Bendat, Piersol, "Random Data").
const double* DualSpectrum::coherences(const LineRange& range, const Products& products) {
    const std::span<double> coherence = work(coherence_, range);
    vyn::kernelsAt<DualSpectrumKernels>().coherence(products.cross, products.responsePower,
                                                    products.excitationPower, coherence.data(),
                                                    range.count);
    return coherence.data();
}

void DualSpectrum::put(const double* lines, const LineRange& range, float* output) {
    if (output == nullptr || lines == nullptr) return;
    vyn::kernelsAt<SpectrumKernels>().putLines(lines, output + range.first, range.count);
}

}  // namespace vynpack
