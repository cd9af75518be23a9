#include "blocks/spectral/TOTerz_Oktave.h"

#include <algorithm>

#include "host/channel_block.h"
#include "host/keyword_members.h"
#include "host/show_message.h"

namespace vynpack {
namespace {

enum Input { kSpectrum };
enum Output { kBands };

using Parameters = Terz_OktaveParameters;

constexpr int kAnalysisBase = Parameters::kThirdOctave - 1;

constexpr Keyword<Parameters> kKeywords[] = {
    {"PkAnalysis", choice<&Parameters::analysisType, kAnalysisBase, 2>()},
    {"PkAScaling", integer<&Parameters::aWeighting>()},
};

LineKind lineKindOf(std::int32_t unit) {
    switch (unit) {
        case kUnitDecibel: return LineKind::level;
        case kUnitAmplitude: return LineKind::amplitude;
        default: return LineKind::power;
    }
}

bool isFrequency(std::int32_t axisKind) {
    return axisKind == kAxisHertz || axisKind == kAxisKilohertz;
}

}  // namespace

std::span<const Keyword<Terz_OktaveParameters>> Terz_OktaveParameters::keywords() {
    return kKeywords;
}

void TOTerz_Oktave::GetConnectors(ConnectorText& text) const { writeConnectors(text, "E,;A,"); }

int TOTerz_Oktave::RestoreParameters(FileHandle file) {
    RecordReader record(file);
    RecordFrame frame;
    if (!record(frame.size) || frame.size != Parameters::kRecordSizeWord) return kDone;
    record(frame.version);
    Parameters::fields(record, parameters_);
    status_ = 1;
    return kDone;
}

int TOTerz_Oktave::InitSim() {
    const bool thirds = parameters_.analysisType == Parameters::kThirdOctave;
    analysis_.start(thirds ? thirdOctaveBands() : octaveBands());
    return kDone;
}

int TOTerz_Oktave::Stoppen() {
    analysis_.stop();
    return kDone;
}

int TOTerz_Oktave::Simulation(SimulationRecord& record) {
    ChannelBlock input(record.inputData[kSpectrum]);
    if (!input || !input.hasRoomFor(0)) return kFailed;
    const ChannelBlockHeader& axis = input.header();
    if (!isFrequency(axis.xAxisKind)) {
        ShowMessage(HostWindow::none, kBoxExclamation, kTextError, kTextNeedsFrequencyAxis);
        return kFailed;
    }
    if (!input.sound() || !analysis_.started()) return kFailed;
    if (record.outputData[kBands] != MemoryHandle::none) return kDone;

    const std::int64_t channels = input.channels();
    WorkBlock work(std::max<std::int64_t>(input.valueCount(), kThirdOctaveBands * channels));
    if (!work) return kFailed;

    const double hertz = axis.xAxisKind == kAxisKilohertz ? 1000.0 : 1.0;
    const int bands =
        analysis_.assignLines(axis.xStart * hertz, axis.xStep * hertz, input.samplesPerChannel());
    const auto values = static_cast<std::size_t>(bands * channels);
    work.header().valueCount = static_cast<std::int32_t>(values);
    work.header().xStart = 0.0;
    const auto results = work.values().first(values);
    analysis_.analyse(input.values(), input.channels(), lineKindOf(axis.yUnit),
                      parameters_.aWeighting != 0, results);

    OutputBlock output(record, kBands, static_cast<std::int64_t>(values), input.handle());
    if (!output) return kFailed;
    std::ranges::copy(results, output.values().begin());
    output.header().valueCount = static_cast<std::int32_t>(values);
    // The x axis counts bands, always from the table's first one on.
    output.header().xStart = 0.0;
    output.header().xStep = 1.0;
    output.header().channelCount = input.channels();
    // Kept: the flag follows the analysis type of the moment, the bands that of the run's start.
    output.header().axisFlags |= parameters_.analysisType == Parameters::kThirdOctave
                                     ? kAxisThirdOctaveBands
                                     : kAxisOctaveBands;
    output.deliver();
    work.giveBack();
    consumeInput(record, kSpectrum, input);
    return kDone;
}

}  // namespace vynpack
