#include "blocks/stats/TOMittelwert.h"

#include <new>

#include "host/channel_block.h"
#include "host/keyword_members.h"
#include "host/parameter_record.h"

namespace vynpack {
namespace {

constexpr int kInput = 0;
constexpr int kOutput = 0;

using Parameters = TOMittelwert::Parameters;

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

void TOMittelwert::GetConnectors(ConnectorText& text) const {
    writeConnectors(text, parameters_.resetMode == kAvgResetByTrigger ? "E,T,;A," : "E,;A,");
}

int TOMittelwert::SaveParameters(FileHandle file) {
    // Kept: the size word counts the gaps of the parameters in memory, not the 54 bytes that
    // follow.
    saveRecord(file, kRecordSizeWord, parameters_);
    return 1;
}

int TOMittelwert::RestoreParameters(FileHandle file) {
    restoreRecord(file, parameters_);
    status_ = 1;
    return 1;
}

int TOMittelwert::InitSim() {
    firstBlockOfRun_ = true;
    error_.clear();
    strategy_.reset();
    switch (parameters_.mode) {
        case kAvgReduce: strategy_.reset(new (std::nothrow) TOAvgReduce); return 1;
        case kAvgSmoothing: strategy_.reset(new (std::nothrow) TOAvgSmoothing); return 1;
        case kAvgBlocks: strategy_.reset(new (std::nothrow) TOAvgBlocks); return 1;
        default: return 0;
    }
}

int TOMittelwert::Stoppen() {
    strategy_.reset();
    return 1;
}

int TOMittelwert::RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) {
    return answerRemoteControl<Parameters>(kKeywords, parameters_, info, value, subCode);
}

int TOMittelwert::ErrorShow() { return error_.show(); }

bool TOMittelwert::startRun(const ChannelBlock& input) {
    channels_ = input.channels();
    if (strategy_->InitChannels(channels_) != 0) {
        error_.report(kTextOutOfMemory);
        return false;
    }
    firstBlockOfRun_ = false;
    return true;
}

int TOMittelwert::Simulation(SimulationRecord& record) {
    if (!record.outputFree(kOutput) || !record.inputWaits(kInput) || !strategy_) return 1;
    ChannelBlock input(record.inputData[kInput]);
    if (!input) return 1;
    if (!input.sound()) return kFailed;
    if (firstBlockOfRun_ && !startRun(input)) return kFailed;
    if (input.channels() != channels_) {
        error_.report(kTextChannelCountChanged);
        return kFailed;
    }

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
    consumeInput(record, kInput, input);
    return 1;
}

}  // namespace vynpack
