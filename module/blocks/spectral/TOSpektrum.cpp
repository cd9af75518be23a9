#include "blocks/spectral/TOSpektrum.h"

#include <cstdint>

#include "blocks/spectral/spectral_headers.h"
#include "blocks/spectral/spectral_names.h"
#include "host/TOGlobal.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal };
enum Output { kAmplitudes, kPhases };

using Parameters = SpektrumParameters;

constexpr Keyword<Parameters> kKeywords[] = {
    // Kept: the density spectrum reads back under its long name but is set with "PSD".
    {"PkAmplType", named<&Parameters::amplitudeType, kAmplitudeTypeTexts>()},
    // Kept: the absent window reads as "RECTANGLE", which no text but an unknown one sets.
    {"PkWndFct", named<&Parameters::window, kWindowTexts>()},
    // Kept: the correction reads back one higher than the number that sets it.
    {"PkWndCorrectTyp", integer<&Parameters::correction, kNoCorrection, kNoCorrection - 1>()},
    {"PkWndPara", real<&Parameters::windowParameter>()},
    {"PkPhase", integer<&Parameters::phase>()},
};

SpectrumSettings settingsOf(const Parameters& p) {
    return {.amplitudeType = p.amplitudeType,
            .window = p.window,
            .correction = p.correction,
            .windowParameter = p.windowParameter};
}

}  // namespace

std::span<const Keyword<SpektrumParameters>> SpektrumParameters::keywords() { return kKeywords; }

void TOSpektrum::GetConnectors(ConnectorText& text) const {
    if (parameters_.amplitudeType == kRealImaginary) {
        writeConnectors(text, "E,;R,I,");
    } else {
        writeConnectors(text, parameters_.phase != 0 ? "E,;S,P," : "E,;S,");
    }
}

int TOSpektrum::InitSim() {
    analysis_.release();
    return kDone;
}

int TOSpektrum::Stoppen() {
    analysis_.release();
    return kDone;
}

bool TOSpektrum::hasSecondOutput() const {
    return parameters_.amplitudeType == kRealImaginary || parameters_.phase != 0;
}

void TOSpektrum::describeFirst(ChannelBlockHeader& header, const ChannelBlock& input) const {
    const std::uint16_t type = parameters_.amplitudeType;
    const double span = input.header().displaySpan;
    describeSpectrum(header, input,
                     SpectrumAnalysis::amplitudeLines(type, input.samplesPerChannel()));
    describeAmplitudes(header, type, span);
    if (type == kRealImaginary) describeDisplay(header, kUnitNone, 0.0, span / 2.0);
}

void TOSpektrum::describeSecond(ChannelBlockHeader& header, const ChannelBlock& input) const {
    describeSpectrum(header, input, SpectrumAnalysis::phaseLines(input.samplesPerChannel()));
    if (parameters_.amplitudeType == kRealImaginary) {
        describeDisplay(header, kUnitNone, 0.0, input.header().displaySpan / 2.0);
    } else {
        describePhases(header);
    }
}

int TOSpektrum::Simulation(SimulationRecord& record) {
    if (!record.outputFree(kAmplitudes) || !record.inputWaits(kSignal)) return kNothingConsumed;
    ChannelBlock input(record.inputData[kSignal]);
    if (!input || !input.sound()) return kNothingConsumed;

    const RealTransform transform = theGlobal().analysis().functions().realTransform.address();
    const std::int64_t channels = input.channels();
    const int n = input.samplesPerChannel();
    analysis_.prepare(n);

    OutputBlock amplitudes(
        record, kAmplitudes,
        channels * SpectrumAnalysis::amplitudeLines(parameters_.amplitudeType, n), input.handle());
    if (!amplitudes) return kNothingConsumed;
    describeFirst(amplitudes.header(), input);

    OutputBlock phases;
    if (hasSecondOutput()) {
        phases = OutputBlock(record, kPhases, channels * SpectrumAnalysis::phaseLines(n),
                             input.handle());
        if (!phases) return kNothingConsumed;
        describeSecond(phases.header(), input);
    }

    analysis_.analyse(settingsOf(parameters_), input.values(), input.channels(),
                      amplitudes.header().xStep, transform, amplitudes.values(),
                      phases ? phases.values() : std::span<float>{});
    amplitudes.deliver();
    phases.deliver();
    consumeInput(record, kSignal, input);
    return kDoneZero;
}

}  // namespace vynpack
