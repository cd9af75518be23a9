#include "blocks/stats/TOStatistik.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <utility>

#include "host/host_messages.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal };

using Parameters = StatistikParameters;

template <std::size_t number>
constexpr Keyword<Parameters> selection(const char* name) {
    return {name, IntegerAccess<Parameters>{
                      [](const Parameters& p) -> std::int32_t { return p.selected[number]; },
                      [](Parameters& p, std::int32_t value) {
                          p.selected[number] = static_cast<std::int16_t>(value);
                      }}};
}

constexpr int kOutputModeBase = Parameters::kOneOutput - 1;

constexpr Keyword<Parameters> kKeywords[] = {
    selection<kSumBlock>("PkSumBlock"),
    selection<kSumAll>("PkSumAll"),
    selection<kQSum>("PkQSum"),
    selection<kYMax>("PkYMax"),
    selection<kXonYMax>("PkXonYMax"),
    selection<kYMin>("PkYMin"),
    selection<kXonYMin>("PkXonYMin"),
    selection<kXMax>("PkXMax"),
    selection<kYonXMax>("PkYonXMax"),
    selection<kXMin>("PkXMin"),
    selection<kYonXMin>("PkYonXMin"),
    selection<kAMean>("PkAMean"),
    selection<kQMean>("PkQMean"),
    selection<kGMean>("PkGMean"),
    selection<kHMean>("PkHMean"),
    selection<kSpannw>("PkSpannw"),
    selection<kStdAbw>("PkStdAbw"),
    selection<kVarianz>("PkVarianz"),
    selection<kVarKoeff>("PkVarKoeff"),
    selection<kVarKoeffRel>("PkVarKoRel"),
    selection<kMAAVMW>("PkMAAVMW"),
    {"PkAllOn", IntegerAccess<Parameters>{[](const Parameters&) -> std::int32_t { return 0; },
                                          [](Parameters& p, std::int32_t value) {
                                              p.selected.fill(static_cast<std::int16_t>(value));
                                          }}},
    {"PkOutMode", choice<&Parameters::outputMode, kOutputModeBase, 2>()},
};

// Records before version 400: one bit per measure in two halves, the output mode, a byte.
void restoreOldRecord(RecordReader& record, Parameters& p) {
    constexpr std::uint32_t kLowHalf = 11;  // measures in the low 16 bits
    std::uint32_t mask = 0;
    if (!record(mask)) return;
    for (std::uint32_t i = 0; i < kStatistics; ++i) {
        const std::uint32_t bit = i < kLowHalf ? i : 16 + (i - kLowHalf);
        p.selected[i] = static_cast<std::int16_t>(mask >> bit & 1U);
    }
    record(p.outputMode, p.reserved[0]);
}

StatBlock statBlockOf(const ChannelBlock& input) {
    const ChannelBlockHeader& header = input.header();
    return {.samples = {input.values(), input.channels()},
            .xStart = header.xStart,
            .xStep = header.xStep,
            .axisFlags = header.axisFlags};
}

}  // namespace

std::span<const Keyword<StatistikParameters>> StatistikParameters::keywords() { return kKeywords; }

void TOStatistik::GetConnectors(ConnectorText& text) const {
    if (parameters_.outputMode == Parameters::kOneOutput) {
        writeConnectors(text, "E,;A,");
        return;
    }
    // Three characters for each of 32 outputs at the most; the text needs no heap.
    char* end = std::copy_n("E,;", 3, text.data());
    for (int output = 1; output <= std::min(activeCount_, kMaxConnectors); ++output) {
        end = std::to_chars(end, text.data() + text.size(), output).ptr;
        *end++ = ',';
    }
    *end = '\0';
}

int TOStatistik::RestoreParameters(FileHandle file) {
    constexpr std::int32_t kFirstListVersion = 400;
    RecordReader record(file);
    RecordFrame frame;
    if (!record(frame.size) || frame.size != Parameters::kRecordSizeWord) return kDone;
    record(frame.version);
    if (frame.version >= kFirstListVersion) {
        Parameters::fields(record, parameters_);
    } else {
        restoreOldRecord(record, parameters_);
    }
    activeCount_ = std::accumulate(parameters_.selected.begin(), parameters_.selected.end(), 0);
    status_ = 1;
    return kDone;
}

int TOStatistik::InitSim() {
    firstBlock_ = 1;
    unsent_ = MemoryHandle::none;
    forgetError();
    active_.clear();
    for (int i = 0; i < kStatistics; ++i) {
        if (parameters_.selected[static_cast<std::size_t>(i)] != 0) {
            active_.push_back(static_cast<Statistic>(i));
        }
    }
    activeCount_ = static_cast<int>(active_.size());
    return kDone;
}

int TOStatistik::Stoppen() { return kDone; }

bool TOStatistik::startRun(const ChannelBlock& input) {
    channels_ = input.channels();
    if (channels_ > kMostChannels || functions_.initChannels(channels_) != 0) {
        fail(kTextOutOfMemory);
        return false;
    }
    firstBlock_ = 0;
    return true;
}

// A choice accepted in the dialog during a run changes the number of outputs that the host counts,
// not the measures: no more of them are sent than the host takes away.
std::span<const Statistic> TOStatistik::measures() const {
    const std::size_t count = activeCount_ < 0 ? 0 : static_cast<std::size_t>(activeCount_);
    return std::span(active_).first(std::min(count, active_.size()));
}

std::size_t TOStatistik::outputCount() const {
    return parameters_.outputMode == Parameters::kOneOutput ? 1 : measures().size();
}

// The host looks after the outputs that it knows of; the output mode may have changed since.
bool TOStatistik::outputsFree(const SimulationRecord& record) const {
    return std::ranges::all_of(std::span(record.outputData).first(outputCount()),
                               [](MemoryHandle data) { return data == MemoryHandle::none; });
}

void TOStatistik::compute(const ChannelBlock& input, std::span<float> results) {
    if (std::exchange(unsent_, input.handle()) != input.handle()) functions_.setAllPending();
    const StatBlock block = statBlockOf(input);
    auto result = results.begin();
    for (const Statistic statistic : measures()) {
        for (int channel = 0; channel < channels_; ++channel)
            *result++ = static_cast<float>(functions_.value(statistic, block, channel));
    }
}

bool TOStatistik::sendResults(SimulationRecord& record, const ChannelBlock& input,
                              std::span<const float> results) {
    const std::size_t outputs = outputCount();
    const std::size_t values = results.size() / outputs;
    // Kept: with a single channel the measures leave the one output as channels, not as samples.
    const auto outputChannels = channels_ == 1 ? values : static_cast<std::size_t>(channels_);

    std::vector<OutputBlock> blocks;
    for (std::size_t k = 0; k < outputs; ++k) {
        OutputBlock output(record, static_cast<int>(k), static_cast<std::int64_t>(values),
                           input.handle());
        if (!output) return false;
        output.header().valueCount = static_cast<std::int32_t>(values);
        output.header().xStart = 0.0;
        output.header().xStep = 1.0;
        output.header().channelCount = static_cast<std::int32_t>(outputChannels);
        std::ranges::copy(results.subspan(k * values, values), output.values().begin());
        blocks.push_back(std::move(output));
    }
    for (OutputBlock& block : blocks)
        block.deliver();
    return true;
}

int TOStatistik::Simulation(SimulationRecord& record) {
    if (activeCount_ == 0) return kDone;
    ChannelBlock input(record.inputData[kSignal]);
    if (!input || !input.sound() || measures().empty()) return kFailed;
    if (!outputsFree(record)) return kDone;
    if (firstBlock_ != 0 && !startRun(input)) return kFailed;
    if (input.channels() != channels_) return fail(kTextChannelCountChanged);

    WorkBlock results(static_cast<std::int64_t>(measures().size()) * channels_);
    if (!results) return kFailed;
    host_message::copyHeader(input.handle(), &results.header());
    compute(input, results.values());
    if (!sendResults(record, input, results.values())) return kFailed;

    functions_.setAllPending();
    unsent_ = MemoryHandle::none;
    results.giveBack();
    consumeInput(record, kSignal, input);
    return kDone;
}

}  // namespace vynpack
