#include "blocks/filter/TOFreqWeight.h"

#include <cmath>
#include <utility>

#include "blocks/filter/weighting/freq_weight_core.h"
#include "host/TOGlobal.h"
#include "host/host_messages.h"
#include "host/keyword_members.h"
#include "host/parameter_record.h"

namespace vynpack {
namespace {

constexpr std::int32_t kRecordSizeWord = 160;
enum Input { kSignal, kControl };
enum Output { kWeighted };

// Hz, of time signals.
constexpr double kLowestRate = 4000.0;
constexpr double kHighestRate = 1e6;

constexpr int kMostFilters = 16384;
constexpr int kFilterKind = 0;  // the library's low pass; the roots are filled in here

// Rounded half up; below 0.5, and without a number, linear.
std::int16_t weightingOfControl(float value) {
    const double rounded = std::floor(static_cast<double>(value) + 0.5);
    if (!(rounded > 0.0)) return 0;
    return rounded >= 3.0 ? std::int16_t{3} : static_cast<std::int16_t>(rounded);
}

std::int32_t unitOf(const ChannelBlockHeader& header) {
    return header.xAxisKind == 0 ? kAxisSeconds : header.xAxisKind;
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

constexpr Keyword<TOFreqWeight::Parameters> kKeywords[] = {
    {"PkXweight", integer<&TOFreqWeight::Parameters::weighting>()},
};

}  // namespace

void TOFreqWeight::GetConnectors(ConnectorText& text) const { writeConnectors(text, "E,S,;A,"); }

int TOFreqWeight::SaveParameters(FileHandle file) {
    saveRecord(file, kRecordSizeWord, parameters_);
    return 1;
}

int TOFreqWeight::RestoreParameters(FileHandle file) {
    restoreRecord(file, parameters_);
    return 1;
}

int TOFreqWeight::InitSim() {
    held_ = MemoryHandle::none;
    firstBlock_ = 1;
    error_.clear();
    return 1;
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
    filters_.clear();
    if (held_ != MemoryHandle::none)
        host_message::release(std::exchange(held_, MemoryHandle::none));
    return 1;
}

int TOFreqWeight::RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) {
    return answerRemoteControl<Parameters>(kKeywords, parameters_, info, value, subCode);
}

int TOFreqWeight::ErrorShow() { return error_.show(); }

void TOFreqWeight::noteOutOfMemory() noexcept { error_.report(kTextOutOfMemory); }

int TOFreqWeight::fail(TextId text) noexcept {
    error_.report(text);
    return kFailed;
}

// A control value replaces the weighting parameter.
void TOFreqWeight::takeControl(SimulationRecord& record) {
    takeControlInput(record, kControl, [this](std::span<const float> values) {
        if (!values.empty()) parameters_.weighting = weightingOfControl(values.front());
    });
}

// The input block itself becomes the output. Filters that it has bypassed start again at rest.
int TOFreqWeight::passOn(SimulationRecord& record) {
    record.outputData[kWeighted] = std::exchange(record.inputData[kSignal], MemoryHandle::none);
    held_ = MemoryHandle::none;
    filterCurve_ = WeightingCurve::linear;
    return kDoneZero;
}

std::optional<TextId> TOFreqWeight::startRun(const Signal& signal) {
    if (signal.unit < kAxisSeconds || signal.unit > kAxisKilohertz) return kTextAxisUnitUnknown;
    signal_ = signal;
    if (!signal.isTime()) return std::nullopt;
    const double rate = signal.sampleRate();
    if (!(rate >= kLowestRate && rate <= kHighestRate)) return kTextCutoffAboveNyquist;
    if (!createFilters(signal.channels)) return kTextOutOfMemory;
    return std::nullopt;
}

std::optional<TextId> TOFreqWeight::compare(const Signal& signal) const {
    if (signal.unit != signal_.unit) return kTextAxisUnitChanged;
    if (!(signal.rate == signal_.rate)) return kTextSampleRateChanged;
    if (signal.channels != signal_.channels) return kTextChannelCountChanged;
    return std::nullopt;
}

bool TOFreqWeight::createFilters(int channels) {
    filters_.clear();
    filterCurve_ = WeightingCurve::linear;
    if (channels > kMostFilters) return false;
    std::vector<FilterObject> filters;
    filters.reserve(static_cast<std::size_t>(channels));
    for (int channel = 0; channel < channels; ++channel) {
        FilterObject object(theGlobal().analysis().functions(), kFilterKind, kWeightingFilterOrder);
        if (!object) return false;
        filters.push_back(std::move(object));
    }
    filters_ = std::move(filters);
    return true;
}

// False when the run has no filters: it was stopped.
bool TOFreqWeight::filterValues(std::span<const float> in, std::span<float> out) {
    if (filters_.size() != static_cast<std::size_t>(signal_.channels)) return false;
    if (std::exchange(filterCurve_, curve()) != curve()) {
        for (const FilterObject& filter : filters_) {
            designWeightingFilter(curve(), signal_.sampleRate(), filter.head());
        }
    }
    rows_.filter(in, signal_.channels, out, [this](int channel, std::span<double> row) {
        filters_[static_cast<std::size_t>(channel)].filter(row);
    });
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
