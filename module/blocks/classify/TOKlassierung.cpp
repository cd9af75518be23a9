#include "blocks/classify/TOKlassierung.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "host/host_messages.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal, kTrigger };
enum Output { kClasses };

// Records before the first had no method; those before the second had no say in it.
constexpr std::int32_t kFirstPaddedVersion = 400;
constexpr std::int32_t kFirstVersionWithMethod = 403;
constexpr std::int32_t kPackedSizeWord = 78;

using Parameters = KlassierungParameters;

void recomputeWidth(Parameters& p) {
    p.width = (p.end - p.begin) / p.number;
    p.range = p.width * p.number;
}

// Keeps the begin; number and end follow. A width that gives no 32-bit number changes nothing.
void setWidth(Parameters& p, double width) {
    if (!(width > 0.0)) return;
    const double number = std::floor((p.end - p.begin) / width + 0.5);
    constexpr double kLargest = std::numeric_limits<std::int32_t>::max();
    if (!(number >= -kLargest && number <= kLargest)) return;
    p.width = width;
    p.number = static_cast<std::int32_t>(number);
    p.end = p.begin + p.number * width;
    p.range = width * p.number;
}

void setRange(Parameters& p, double range) {
    if (!(range > 0.0)) return;
    p.range = range;
    p.width = range / p.number;
    if (range != p.end - p.begin) p.end = p.begin + range;
}

// An end of the class range; the class width follows it.
template <double Parameters::*member>
constexpr RealAccess<Parameters> limit() {
    return {real<member>().get, [](Parameters& p, double value) {
                p.*member = value;
                recomputeWidth(p);
            }};
}

constexpr Keyword<Parameters> kKeywords[] = {
    {"PkMode", IntegerAccess<Parameters>{integer<&Parameters::mode, kAutomatic - 1>().get,
                                         [](Parameters& p, std::int32_t value) {
                                             if (value < 1 || value > 2) return;
                                             p.mode =
                                                 static_cast<std::int16_t>(value + kAutomatic - 1);
                                             recomputeWidth(p);
                                         }}},
    {"PkNumber", IntegerAccess<Parameters>{integer<&Parameters::number>().get,
                                           [](Parameters& p, std::int32_t value) {
                                               if (value <= 0) return;
                                               p.number = value;
                                               recomputeWidth(p);
                                           }}},
    {"PkBegin", limit<&Parameters::begin>()},
    {"PkEnd", limit<&Parameters::end>()},
    {"PkWidth", RealAccess<Parameters>{real<&Parameters::width>().get, setWidth}},
    {"PkRange", RealAccess<Parameters>{real<&Parameters::range>().get, setRange}},
    {"PkReset", choice<&Parameters::resetMode, Parameters::kNeverReset - 1, 3>()},
    {"PkNBlocks", IntegerAccess<Parameters>{integer<&Parameters::resetBlocks>().get,
                                            [](Parameters& p, std::int32_t value) {
                                                if (value > 0) p.resetBlocks = value;
                                            }}},
    {"PkCalcMode", choice<&Parameters::calculation, kRelative - 1, 2>()},
    {"PkRefline", real<&Parameters::referenceLine>()},
    {"PkHyst", real<&Parameters::hysteresis>()},
    // Kept: the peak methods read back as 4 to 6 but only the dialog selects them.
    {"PkMethod", choice<&Parameters::method, kSampleCount - 1, 3>()},
};

// The rules of the moment, with the number of classes of the run.
CountingRules rulesOf(const Parameters& p, std::int32_t classes) {
    const ClassScale scale{.number = classes, .begin = p.begin, .end = p.end, .range = p.range};
    return {.scale = scale,
            .relative = p.calculation == kRelative,
            .referenceLine = p.referenceLine,
            .hysteresis = p.hysteresis * 0.01 * scale.width()};
}

// 0 where there is none. Comparisons wait for those before them: four run beside each other.
float largestAboveZero(std::span<const float> values) {
    float largest[4] = {};
    const auto take = [&](int lane, float value) {
        largest[lane] = std::max(largest[lane], value);  // never NaN
    };
    std::size_t i = 0;
    for (; i + 4 <= values.size(); i += 4) {
        for (int lane = 0; lane < 4; ++lane)
            take(lane, values[i + static_cast<std::size_t>(lane)]);
    }
    for (; i < values.size(); ++i)
        take(0, values[i]);
    return std::ranges::max(largest);
}

}  // namespace

std::span<const Keyword<KlassierungParameters>> KlassierungParameters::keywords() {
    return kKeywords;
}

void TOKlassierung::GetConnectors(ConnectorText& text) const {
    writeConnectors(text,
                    parameters_.resetMode == Parameters::kResetByTrigger ? "E,T,;A," : "E,;A,");
}

int TOKlassierung::RestoreParameters(FileHandle file) {
    RecordReader record(file);
    RecordFrame frame;
    record(frame.size, frame.version);
    const bool withoutMethod = frame.version < kFirstVersionWithMethod;
    if (frame.version < kFirstPaddedVersion || (withoutMethod && frame.size == kPackedSizeWord)) {
        // Kept: of a record of 78 bytes the rest behind the packed fields is left unread.
        Parameters::packedFields(record, parameters_);
    } else {
        Parameters::fields(record, parameters_);
        if (withoutMethod) parameters_.method = kSampleCount;
    }
    status_ = 1;
    return kDone;
}

int TOKlassierung::InitSim() {
    processedBlocks_ = 0;
    // Kept: the accumulator is forgotten, not given back; only Stoppen does that.
    accumulator_ = MemoryHandle::none;
    firstBlock_ = 1;
    return kDone;
}

int TOKlassierung::Stoppen() {
    abandonRun();
    return kDone;
}

int TOKlassierung::Simulation(SimulationRecord& record) {
    if (!record.outputConnected(kClasses)) return kDone;
    bool reset = false;
    if (record.outputFree(kClasses) && record.inputWaits(kSignal)) {
        if (!classify(record)) return kFailed;
        const auto resetBlocks = static_cast<std::uint32_t>(parameters_.resetBlocks);
        reset =
            parameters_.resetMode == Parameters::kResetByCount && processedBlocks_ == resetBlocks;
    }
    if (parameters_.resetMode == Parameters::kResetByTrigger && triggered(record)) reset = true;
    if (reset && accumulator_ != MemoryHandle::none) resetCounts();
    return kDone;
}

// The first data block of a run fixes its channels, its classes and its method.
bool TOKlassierung::startRun(int channels) {
    abandonRun();
    const std::int64_t results =
        std::int64_t{parameters_.number} * channels * resultsPerChannel(parameters_.method);
    if (parameters_.number <= 0 || results > std::numeric_limits<std::int32_t>::max()) return false;
    auto run = std::make_unique<Run>();
    run->classes = parameters_.number;
    run->methodId = parameters_.method;
    run->channels = channels;
    run->results = static_cast<std::int32_t>(results);
    accumulator_ = host_message::newBlock(run->results);
    const ChannelBlock sums(accumulator_);
    if (!sums || !sums.hasRoomFor(results)) {
        releaseAccumulator();
        return false;
    }
    sums.header().valueCount = run->results;
    sums.header().xAxisKind = kAxisNone;
    std::ranges::fill(sums.values(), 0.0F);
    run_ = std::move(run);
    run_->method =
        makeCountingMethod(run_->methodId, rulesOf(parameters_, run_->classes), channels);
    return true;
}

void TOKlassierung::abandonRun() {
    releaseAccumulator();
    run_.reset();
}

void TOKlassierung::releaseAccumulator() noexcept { host_message::giveBack(accumulator_); }

// Takes the waiting block through to an output block. False when nothing was put out.
bool TOKlassierung::classify(SimulationRecord& record) {
    ChannelBlock input(record.inputData[kSignal]);
    if (!input || !input.sound()) return false;
    const bool first = firstBlock_ != 0 || run_ == nullptr;
    if (!first && input.channels() != run_->channels) {
        consumeInput(record, kSignal, input);
        return false;
    }
    if (first && !startRun(input.channels())) return false;
    if (!countBlock(record, input)) {
        if (first) abandonRun();
        return false;
    }
    consumeInput(record, kSignal, input);
    firstBlock_ = 0;
    return true;
}

bool TOKlassierung::countBlock(SimulationRecord& record, const ChannelBlock& input) {
    const ChannelBlock sums(accumulator_);
    if (!sums || !sums.hasRoomFor(run_->results)) return false;
    OutputBlock output(record, kClasses, run_->results, input.handle());
    if (!output) return false;
    ++processedBlocks_;

    const Parameters& p = parameters_;
    const bool relative = p.calculation == kRelative;
    ChannelBlockHeader& header = output.header();
    header.valueCount = run_->results;
    header.xAxisKind = input.header().yUnit;
    header.yUnit = relative ? kUnitPercent : kUnitNone;
    header.xStart = p.begin;
    header.xStep = (p.end - p.begin) / run_->classes;
    header.displayMinimum = 0.0;
    header.channelCount = input.channels() * resultsPerChannel(run_->methodId);

    const std::span<float> results = sums.values(static_cast<std::size_t>(run_->results));
    if (run_->method) {
        run_->method->follow(rulesOf(p, run_->classes));
        run_->method->update(input.values(), input.header().xStep, results);
    }
    std::ranges::copy(results, output.values().begin());
    const float largest = largestAboveZero(results);
    header.displaySpan = relative ? 100.0 : largest;
    output.deliver();
    return true;
}

// Takes the trigger's data block; true when one of its values is high.
bool TOKlassierung::triggered(SimulationRecord& record) const {
    bool high = false;
    takeControlInput(record, kTrigger, [&](std::span<const float> values) {
        high = std::ranges::any_of(values, [](float value) { return value > kTriggerLevel; });
    });
    return high;
}

void TOKlassierung::resetCounts() {
    processedBlocks_ = 0;
    if (run_ == nullptr) return;
    if (run_->method) run_->method->reset();
    const ChannelBlock sums(accumulator_);
    if (sums && sums.hasRoomFor(run_->results))
        std::ranges::fill(sums.values(static_cast<std::size_t>(run_->results)), 0.0F);
}

}  // namespace vynpack
