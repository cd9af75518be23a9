#include "blocks/filter/TOLevel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "host/host_messages.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal, kControl };
enum Output { kLevels };

using Parameters = LevelParameters;

constexpr Keyword<Parameters> kKeywords[] = {
    {"PkRMS", integer<&Parameters::rms>(), ValueType::flag},
    {"PkTimeTc", integer<&Parameters::timeWeighting>()},
    {"PkTimeTx", integer<&Parameters::clockPeriod>()},
    {"PkTimeHold", real<&Parameters::blankedSeconds>()},
    {"PkFreqOut", real<&Parameters::outputFrequency>()},
};

int secondsOf(int clockPeriod) {
    switch (clockPeriod) {
        case 0: return 1;
        case 2: return 5;
        default: return 3;
    }
}

// An absent unit counts as seconds.
std::int32_t timeUnitOf(const ChannelBlockHeader& header) {
    return header.xAxisKind == kAxisNone ? kAxisSeconds : header.xAxisKind;
}

double stepInSeconds(const ChannelBlockHeader& header) {
    return timeUnitOf(header) == kAxisMilliseconds ? header.xStep / 1000.0 : header.xStep;
}

// The integer part of a control value; what no integer holds sets no bit.
std::int32_t controlBits(float control) {
    constexpr float kLimit = 2147483648.0F;
    return control >= -kLimit && control < kLimit ? static_cast<std::int32_t>(control) : 0;
}

}  // namespace

std::span<const Keyword<LevelParameters>> LevelParameters::keywords() { return kKeywords; }

void TOLevel::GetConnectors(ConnectorText& text) const { writeConnectors(text, "E,S,;A,"); }

int TOLevel::InitSim() {
    run_.reset();
    clockSeconds_ = secondsOf(parameters_.clockPeriod);
    control_ = 0.0F;
    held_ = MemoryHandle::none;
    readSamples_ = 0;
    forgetError();
    return kDone;
}

int TOLevel::Stoppen() {
    run_.reset();
    host_message::giveBack(held_);
    readSamples_ = 0;
    return kDone;
}

LevelMode TOLevel::mode() const {
    return {.rms = parameters_.rms != 0, .impulse = parameters_.timeWeighting == kImpulse};
}

int TOLevel::Simulation(SimulationRecord& record) {
    takeControlInput(record, kControl, [this](std::span<const float> values) {
        if (!values.empty()) control_ = values.front();
    });
    if (!record.outputFree(kLevels) || !record.inputConnected(kSignal)) return kDoneZero;
    if (!record.inputWaits(kSignal)) return kDoneZero;
    // A block in work stays at its connector; another one there means that the host took it back.
    if (std::exchange(held_, record.inputData[kSignal]) != record.inputData[kSignal])
        readSamples_ = 0;
    ChannelBlock input(held_);
    if (!input || !input.sound()) return kFailed;

    const int started = run_ ? kDoneZero : startRun(input);
    if (started != kDoneZero) return started;
    const int unchanged = checkUnchanged(input);
    if (unchanged != kDoneZero) return unchanged;

    LevelMeter& meter = run_->meter;
    // Never below 0: between two calls the host may have shortened a block in work.
    const auto left = [&] {
        return std::max<std::int64_t>(input.samplesPerChannel() - readSamples_, 0);
    };
    if (!meter.full()) {
        if (meter.missing() >= left()) {
            feed(input, left());
            releaseHeld(record, input);
            return kDoneZero;
        }
        feed(input, meter.missing());
    }
    if (!emit(record)) return fail(kTextOutOfMemory);
    if (left() > meter.missing()) {
        feed(input, meter.missing());  // the next call puts out the next interval
    } else {
        feed(input, left());
        releaseHeld(record, input);
    }
    return kDoneZero;
}

int TOLevel::startRun(const ChannelBlock& input) {
    const std::int32_t unit = timeUnitOf(input.header());
    const double step = stepInSeconds(input.header());
    const bool isTime = unit == kAxisSeconds || unit == kAxisMilliseconds;
    if (!isTime || !(step > 0.0) || !std::isfinite(step)) return fail(kTextNotATimeSignal);
    if (parameters_.outputFrequency == 0.0) return fail(kTextOutputFrequencyZero);
    const LevelSettings settings{.channels = input.channels(),
                                 .step = step,
                                 .outputFrequency = parameters_.outputFrequency,
                                 .timeConstant = timeConstantOf(parameters_.timeWeighting),
                                 .clockSeconds = clockSeconds_,
                                 .blankedSeconds = parameters_.blankedSeconds};
    run_.emplace(Run{.meter = LevelMeter(settings),
                     .channels = input.channels(),
                     .timeUnit = unit,
                     .step = step,
                     .rate = 1.0 / step,
                     .outputStep = 1.0 / parameters_.outputFrequency});
    return kDoneZero;
}

int TOLevel::checkUnchanged(const ChannelBlock& input) {
    if (input.channels() != run_->channels) return fail(kTextChannelCountChanged);
    if (!(1.0 / stepInSeconds(input.header()) == run_->rate)) return fail(kTextSampleRateChanged);
    if (timeUnitOf(input.header()) != run_->timeUnit) return fail(kTextAxisUnitChanged);
    return kDoneZero;
}

void TOLevel::feed(const ChannelBlock& input, std::int64_t samples) {
    const auto width = static_cast<std::size_t>(run_->channels);
    const std::span<const float> values = input.values();
    // Behind the end of a block that has shrunk there is nothing left to read.
    const std::size_t first =
        std::min(static_cast<std::size_t>(readSamples_) * width, values.size());
    run_->meter.feed(values.subspan(first, static_cast<std::size_t>(samples) * width),
                     controlBits(control_), mode());
    readSamples_ += samples;
}

// Puts out the interval that is full. False when the host gives no block for it.
bool TOLevel::emit(SimulationRecord& record) {
    const std::int32_t values = kLevelQuantities * run_->channels;
    OutputBlock output(record, kLevels, values, held_);
    if (!output) return false;
    ChannelBlockHeader& header = output.header();
    header.valueCount = values;
    header.xAxisKind = kAxisSeconds;
    header.yUnit = kUnitNone;
    header.xStart = static_cast<float>(run_->meter.intervalStart() + run_->step);
    header.xStep = run_->outputStep;
    // Kept: the channel word counts the quantities, however many channels each of them has.
    header.channelCount = kLevelQuantities;
    run_->meter.emit(output.values(), mode());
    output.deliver();
    return true;
}

void TOLevel::releaseHeld(SimulationRecord& record, ChannelBlock& input) {
    held_ = MemoryHandle::none;
    readSamples_ = 0;
    consumeInput(record, kSignal, input);
}

}  // namespace vynpack
