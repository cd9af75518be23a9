// TOMittelwert ("Mittelwert"): reduction, smoothing, or averaging of data blocks.
#pragma once

#include <cstdint>
#include <memory>

#include "blocks/stats/TOAvgFunction.h"
#include "host/TOBlock.h"
#include "host/show_message.h"

namespace vynpack {

class TOMittelwert final : public TOBlock {
public:
    static constexpr std::int32_t kRecordSizeWord = 64;

    using Parameters = AvgParameters;

    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int SaveParameters(FileHandle file) override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;
    int RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) override;
    int ErrorShow() override;
    void noteOutOfMemory() noexcept override { error_.report(kTextOutOfMemory); }

    Parameters& parameters() { return parameters_; }

private:
    bool startRun(const ChannelBlock& input);

    Parameters parameters_;
    std::unique_ptr<TOAvgFunction> strategy_;  // of this run
    bool firstBlockOfRun_ = false;
    int channels_ = 0;
    DeferredError error_;
};

}  // namespace vynpack
