#include "blocks/spectral/TODualSpektrum.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include "blocks/spectral/spectral_headers.h"
#include "blocks/spectral/spectral_names.h"
#include "host/TOGlobal.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kExcitation, kResponse, kTrigger };
enum Output { kAmplitudes, kPhases, kCoherences };

using Parameters = DualSpektrumParameters;

constexpr NamedValue kTransferNames[] = {
    {kTransferH1, "SPECTRUM H1"},
    {kTransferH2, "SPECTRUM H2"},
};

// As they read back.
constexpr NamedValue kAverageNames[] = {
    {kArithmeticAveraging, "ARITHMETIC"},  {kExponentialAveraging, "EXPONENTIAL"},
    {kMinimumAveraging, "PEAKMIN"},        {kMaximumAveraging, "PEAKMAX"},
    {kWeightedAveraging, "MINMAXAVERAGE"}, {kMinMaxAveraging, "PEAKMINMAX"},
};

// As they are set.
constexpr NamedValue kAverageKeys[] = {
    {kExponentialAveraging, "EXPONENTIAL"},
    {kMinimumAveraging, "PEAKMIN"},
    {kMaximumAveraging, "PEAKMAX"},
    // Kept: this name sets the weighted average.
    {kWeightedAveraging, "MINMAXAVERAGE"},
    {kMinMaxAveraging, "PEAKMINMAX"},
    {kNoAveraging, "NO"},
};

constexpr NamedTexts kTransferTexts{kTransferNames, "SPECTRUM H0", kTransferNames, kTransferH0};
constexpr NamedTexts kAverageTexts{kAverageNames, "NO", kAverageKeys, kArithmeticAveraging};

// Kept: these texts read back as one byte without meaning.
template <auto member, const NamedTexts& texts>
constexpr WriteOnlyTextAccess<Parameters> writeOnly() {
    return {named<member, texts>()};
}

constexpr Keyword<Parameters> kKeywords[] = {
    {"PkOutChnMode", integer<&Parameters::outputChannelMode>()},
    {"PkAmplType", writeOnly<&Parameters::amplitudeType, kAmplitudeTypeTexts>()},
    {"PkTransPhase", integer<&Parameters::phase>()},
    {"PkCoherence", integer<&Parameters::coherence>()},
    {"PkTransFCTType", writeOnly<&Parameters::transferType, kTransferTexts>()},
    // Kept: the switch reads back one higher than the number that sets it.
    {"PkCrossSpectr",
     integer<&Parameters::quantity, Parameters::kCrossSpectrum, Parameters::kCrossSpectrum - 1>()},
    {"PkAverageType", writeOnly<&Parameters::averageType, kAverageTexts>()},
    {"PkAverageSource", integer<&Parameters::averageSource, kAverageAmplitude>()},
    {"PkWndFct", writeOnly<&Parameters::window, kWindowTexts>()},
    {"PkWndCorrectTyp", integer<&Parameters::correction, kNoCorrection>()},
    {"PkWndPara", real<&Parameters::windowParameter>()},
    {"PkResetMode", integer<&Parameters::resetMode, Parameters::kNeverReset>()},
    {"PkResetCount", integer<&Parameters::resetCount>()},
    {"PkDataOnReset", integer<&Parameters::dataOnReset>()},
    {"PkAvgFactor", real<&Parameters::averageFactor>()},
};

DualSpectrumSettings settingsOf(const Parameters& p) {
    return {.crossSpectrum = p.quantity == Parameters::kCrossSpectrum,
            .transferType = p.transferType,
            .amplitudeType = p.amplitudeType,
            .averageType = p.averageType,
            .averageSource = p.averageSource,
            .phase = p.phase != 0,
            .coherence = p.coherence != 0,
            .window = p.window,
            .correction = p.correction,
            .windowParameter = p.windowParameter};
}

const char* secondOutputOf(const Parameters& p) {
    if (p.amplitudeType == kRealImaginary) return "I,";
    return p.phase != 0 ? "P," : "-,";
}

// Nothing is common to the layouts of the two blocks.
bool differ(const ChannelBlock& excitation, const ChannelBlock& response) {
    return excitation.valueCount() != response.valueCount() &&
           excitation.channels() != response.channels();
}

OutputBlock openOutput(SimulationRecord& record, int connector, const ChannelBlock& excitation) {
    const int lines = DualSpectrum::lines(excitation.samplesPerChannel());
    OutputBlock output(record, connector, std::int64_t{lines} * excitation.channels(),
                       excitation.handle());
    if (output) describeSpectrum(output.header(), excitation, lines);
    return output;
}

std::span<float> valuesOf(const OutputBlock& output) {
    return output ? output.values() : std::span<float>{};
}

}  // namespace

std::span<const Keyword<DualSpektrumParameters>> DualSpektrumParameters::keywords() {
    return kKeywords;
}

void TODualSpektrum::GetConnectors(ConnectorText& text) const {
    const bool parts = parameters_.amplitudeType == kRealImaginary;
    const char* coherence = parameters_.coherence != 0 ? "K," : "-,";
    std::array<char, 32> connectors{};
    std::snprintf(connectors.data(), connectors.size(), "E,A,T,;%s%s%s", parts ? "R," : "A,",
                  secondOutputOf(parameters_), coherence);
    writeConnectors(text, connectors.data());
}

int TODualSpektrum::InitSim() {
    spectrum_.release();
    triggered_ = false;
    return kDone;
}

int TODualSpektrum::Stoppen() {
    spectrum_.release();
    lengthened_ = {};
    triggered_ = false;
    return kDone;
}

void TODualSpektrum::takeTrigger(SimulationRecord& record) {
    if (parameters_.resetMode != Parameters::kResetByTrigger) return;
    takeControlInput(record, kTrigger, [this](std::span<const float> values) {
        triggered_ = triggered_ || std::any_of(values.begin(), values.end(),
                                               [](float value) { return value > kTriggerLevel; });
    });
}

// The block at hand is the last of its average.
bool TODualSpektrum::averageEnds() const {
    if (parameters_.resetMode == Parameters::kResetByCount) {
        return spectrum_.progress().nextBlock() ==
               static_cast<std::uint32_t>(parameters_.resetCount);
    }
    return parameters_.resetMode == Parameters::kResetByTrigger && triggered_;
}

bool TODualSpektrum::deliversNow(bool averageEnds) const {
    return parameters_.dataOnReset == 0 || averageEnds || parameters_.averageType == kNoAveraging ||
           parameters_.resetMode == Parameters::kNeverReset;
}

bool TODualSpektrum::openOutputs(SimulationRecord& record, const ChannelBlock& excitation,
                                 Outputs& outputs) {
    const std::uint16_t type = parameters_.amplitudeType;
    outputs.amplitudes = openOutput(record, kAmplitudes, excitation);
    if (!outputs.amplitudes) return false;
    describeAmplitudes(outputs.amplitudes.header(), type, excitation.header().displaySpan);

    if (parameters_.phase != 0 || type == kRealImaginary) {
        outputs.phases = openOutput(record, kPhases, excitation);
        if (!outputs.phases) return false;
        ChannelBlockHeader& header = outputs.phases.header();
        // Kept: imaginary parts go out in degrees, too, with the display of the input.
        header.yUnit = kUnitDegrees;
        if (type != kRealImaginary) describePhases(header);
    }
    if (parameters_.coherence != 0) {
        outputs.coherences = openOutput(record, kCoherences, excitation);
        if (!outputs.coherences) return false;
        describeDisplay(outputs.coherences.header(), kUnitNone, 0.0, 1.0);
    }
    return true;
}

// The response as far as the excitation goes: samples that it lacks count as 0.
std::span<const float> TODualSpektrum::asFarAs(const ChannelBlock& excitation,
                                               const ChannelBlock& response) {
    const auto wanted = static_cast<std::size_t>(excitation.valueCount());
    const std::span<const float> values = response.values();
    if (values.size() >= wanted) return values;
    lengthened_.assign(wanted, 0.0F);
    std::ranges::copy(values, lengthened_.begin());
    return lengthened_;
}

int TODualSpektrum::Simulation(SimulationRecord& record) {
    ChannelBlock excitation;
    ChannelBlock response;
    const bool bothWait = record.inputWaits(kExcitation) && record.inputWaits(kResponse);
    if (bothWait) {
        excitation = ChannelBlock(record.inputData[kExcitation]);
        response = ChannelBlock(record.inputData[kResponse]);
        if (!excitation || !response || !excitation.sound() || !response.sound()) return kDone;
    }
    takeTrigger(record);
    if (!bothWait || differ(excitation, response)) {
        // Kept: blocks that have nothing in common are neither unlocked nor released.
        excitation.leaveLocked();
        response.leaveLocked();
        triggered_ = false;  // a reset belongs to the data that came with it
        return kDone;
    }

    const RealTransform transform = theGlobal().analysis().functions().realTransform.address();
    const DualSpectrumSettings settings = settingsOf(parameters_);
    spectrum_.prepare(settings, excitation.samplesPerChannel(), excitation.channels());
    const bool ends = averageEnds();
    Outputs outputs;
    if (deliversNow(ends) && !openOutputs(record, excitation, outputs)) return kDone;

    spectrum_.analyse(
        settings, {excitation.values(), asFarAs(excitation, response)}, resolutionOf(excitation),
        parameters_.averageFactor, transform,
        {valuesOf(outputs.amplitudes), valuesOf(outputs.phases), valuesOf(outputs.coherences)});
    outputs.amplitudes.deliver();
    outputs.phases.deliver();
    outputs.coherences.deliver();
    response.unlock();  // both are free before either goes back
    consumeInput(record, kExcitation, excitation);
    consumeInput(record, kResponse, response);
    if (ends) spectrum_.restartAverage();
    triggered_ = false;
    return kDone;
}

}  // namespace vynpack
