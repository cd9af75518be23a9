#include "blocks/filter/TOFreqWeight.h"

#include <utility>

#include "blocks/filter/weighting/freq_weight_core.h"
#include "host/TOGlobal.h"
#include "host/host_messages.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal, kControl };
enum Output { kWeighted };

constexpr int kFilterKind = 0;  // the library's low pass; the roots are filled in here

std::int32_t unitOf(const ChannelBlockHeader& header) {
    return header.xAxisKind == kAxisNone ? kAxisSeconds : header.xAxisKind;
}

SpectrumAxis spectrumAxisOf(const ChannelBlock& block) {
    const ChannelBlockHeader& header = block.header();
    SpectrumAxis axis;
    if ((header.axisFlags & kAxisThirdOctaveBands) != 0) {
        axis.lines = SpectrumLines::thirdOctaves;
    } else if ((header.axisFlags & kAxisOctaveBands) != 0) {
        axis.lines = SpectrumLines::octaves;
    }
    axis.start = header.xStart;
    axis.step = header.xStep;
    axis.unit = header.xAxisKind == kAxisKilohertz ? 1000.0 : 1.0;
    axis.count = static_cast<std::size_t>(block.samplesPerChannel());
    return axis;
}

std::optional<SpectrumValues> spectrumValuesOf(std::int32_t yUnit) {
    switch (yUnit) {
        case kUnitDecibel: return SpectrumValues::levels;
        case kUnitAmplitude: return SpectrumValues::amplitudes;
        case kUnitPower: return SpectrumValues::powers;
        default: return std::nullopt;
    }
}

using Parameters = FreqWeightParameters;

constexpr Keyword<Parameters> kKeywords[] = {
    {"PkXweight", integer<&Parameters::weighting>()},
};

}  // namespace

std::span<const Keyword<FreqWeightParameters>> FreqWeightParameters::keywords() {
    return kKeywords;
}

void TOFreqWeight::GetConnectors(ConnectorText& text) const { writeConnectors(text, "E,S,;A,"); }

int TOFreqWeight::InitSim() {
    held_ = MemoryHandle::none;
    firstBlock_ = 1;
    forgetError();
    return kDone;
}

int TOFreqWeight::Simulation(SimulationRecord& record) {
    takeControl(record);
    if (!record.outputFree(kWeighted) || !record.inputWaits(kSignal)) return kDoneZero;
    if (curve() == WeightingCurve::linear) return passOn(record);

    held_ = record.inputData[kSignal];
    ChannelBlock input(held_);
    if (!input || !input.sound()) return kFailed;
    OutputBlock output(record, kWeighted, input.valueCount(), input.handle());
    if (!output) return fail(kTextOutOfMemory);

    const ChannelBlockHeader& header = input.header();
    const Signal signal{unitOf(header), 1.0 / header.xStep, header.channelCount};
    if (firstBlock_ != 0) {
        if (const auto wrong = startRun(signal)) return fail(*wrong);
        firstBlock_ = 0;
    }
    if (const auto wrong = compare(signal)) return fail(*wrong);
    if (!signal.isTime()) {
        weightSpectrum(input, output.values());
    } else if (!filterValues(input.values(), output.values())) {
        return kFailed;
    }

    output.deliver();
    consumeInput(record, kSignal, input);
    held_ = MemoryHandle::none;
    return kDoneZero;
}

int TOFreqWeight::Stoppen() {
    filters_ = {};
    host_message::giveBack(held_);
    return kDone;
}

// A control value replaces the weighting parameter.
void TOFreqWeight::takeControl(SimulationRecord& record) {
    takeControlInput(record, kControl, [this](std::span<const float> values) {
        if (!values.empty())
            parameters_.weighting = static_cast<std::int16_t>(weightingOfControl(values.front()));
    });
}

// The input block itself becomes the output. Filters that it bypasses stand still meanwhile.
int TOFreqWeight::passOn(SimulationRecord& record) {
    record.outputData[kWeighted] = std::exchange(record.inputData[kSignal], MemoryHandle::none);
    held_ = MemoryHandle::none;
    return kDoneZero;
}

std::optional<TextId> TOFreqWeight::startRun(const Signal& signal) {
    if (signal.unit < kAxisSeconds || signal.unit > kAxisKilohertz) return kTextAxisUnitUnknown;
    signal_ = signal;
    if (!signal.isTime()) return std::nullopt;
    const double rate = signal.sampleRate();
    if (!takesWeightingFilter(rate)) return kTextCutoffAboveNyquist;
    filterCurve_ = WeightingCurve::linear;
    filters_ = {};
    filters_ = ChannelFilters::create(theGlobal().analysis().functions(), kFilterKind,
                                      kWeightingFilterOrder, signal.channels);
    if (!filters_) return kTextOutOfMemory;
    return std::nullopt;
}

std::optional<TextId> TOFreqWeight::compare(const Signal& signal) const {
    if (signal.unit != signal_.unit) return kTextAxisUnitChanged;
    if (!(signal.rate == signal_.rate)) return kTextSampleRateChanged;
    if (signal.channels != signal_.channels) return kTextChannelCountChanged;
    return std::nullopt;
}

// False when the run has no filters: it was stopped.
bool TOFreqWeight::filterValues(std::span<const float> in, std::span<float> out) {
    const std::span<const FilterObject> objects = filters_.objects();
    if (objects.empty()) return false;
    if (std::exchange(filterCurve_, curve()) != curve()) {
        ovanlys::FilterHead& design = objects.front().head();
        designWeightingFilter(curve(), signal_.sampleRate(), design);
        for (const FilterObject& object : objects.subspan(1))
            object.head() = design;
    }
    filters_.filter(in, out);
    return true;
}

// Values of other kinds are not touched: the output keeps what the host has put there.
void TOFreqWeight::weightSpectrum(const ChannelBlock& input, std::span<float> out) {
    if (const auto kind = spectrumValuesOf(input.header().yUnit)) {
        spectrum_.apply(curve(), *kind, spectrumAxisOf(input), input.values(), input.channels(),
                        out);
    }
}

}  // namespace vynpack
