#include "blocks/stats/TOMittelwert.h"

#include <new>

#include "host/channel_block.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal };
enum Output { kAverage };

using Parameters = AvgParameters;

constexpr int kModeBase = kAvgReduce - 1;
constexpr int kResetModeBase = kAvgResetNever - 1;

constexpr Keyword<Parameters> kKeywords[] = {
    {"PkMode", choice<&Parameters::mode, kModeBase, 3>()},
    {"PkReduceVal", integer<&Parameters::reduceValue>()},
    {"PkSmoothNVal", integer<&Parameters::smoothingWidth>()},
    {"PkWFactor", RealAccess<Parameters>{real<&Parameters::weightingFactor>().get,
                                         [](Parameters& p, double value) {
                                             if (value >= 0.0 && value <= 1.0)
                                                 p.weightingFactor = value;
                                         }}},
    {"PkResetMode", choice<&Parameters::resetMode, kResetModeBase, 3>()},
    {"PkResNBlocks", IntegerAccess<Parameters>{integer<&Parameters::resetBlockCount>().get,
                                               [](Parameters& p, std::int32_t value) {
                                                   if (value != 0) p.resetBlockCount = value;
                                               }}},
    {"PkOutMode", integer<&Parameters::outputMode>()},
};

}  // namespace

std::span<const Keyword<AvgParameters>> AvgParameters::keywords() { return kKeywords; }

void TOMittelwert::GetConnectors(ConnectorText& text) const {
    writeConnectors(text, parameters_.resetMode == kAvgResetByTrigger ? "E,T,;A," : "E,;A,");
}

int TOMittelwert::RestoreParameters(FileHandle file) {
    restoreRecord(file, parameters_);
    status_ = 1;
    return kDone;
}

int TOMittelwert::InitSim() {
    firstBlock_ = 1;
    forgetError();
    strategy_.reset();
    switch (parameters_.mode) {
        case kAvgReduce: strategy_.reset(new (std::nothrow) TOAvgReduce); return kDone;
        case kAvgSmoothing: strategy_.reset(new (std::nothrow) TOAvgSmoothing); return kDone;
        case kAvgBlocks: strategy_.reset(new (std::nothrow) TOAvgBlocks); return kDone;
        default: return 0;
    }
}

int TOMittelwert::Stoppen() {
    strategy_.reset();
    return kDone;
}

bool TOMittelwert::startRun(const ChannelBlock& input) {
    channels_ = input.channels();
    if (strategy_->InitChannels(channels_) != 0) {
        fail(kTextOutOfMemory);
        return false;
    }
    firstBlock_ = 0;
    return true;
}

int TOMittelwert::Simulation(SimulationRecord& record) {
    if (!record.outputFree(kAverage) || !record.inputWaits(kSignal) || !strategy_) return kDone;
    ChannelBlock input(record.inputData[kSignal]);
    if (!input) return kDone;
    if (!input.sound()) return kFailed;
    if (firstBlock_ != 0 && !startRun(input)) return kFailed;
    if (input.channels() != channels_) return fail(kTextChannelCountChanged);

    std::int64_t outputValues = 0;
    const int message = strategy_->CheckParameters(input, parameters_, outputValues);
    if (message != 0) {
        ShowMessage(HostWindow::none, kBoxExclamation, kTextError, static_cast<unsigned>(message));
        return kFailed;
    }
    auto output = strategy_->MakeOutput(record, input, outputValues, parameters_);
    if (output && !*output) return kFailed;
    strategy_->Process(input, output ? &*output : nullptr, parameters_);
    if (output) output->deliver();
    consumeInput(record, kSignal, input);
    return kDone;
}

}  // namespace vynpack
