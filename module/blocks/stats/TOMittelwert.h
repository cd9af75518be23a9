// TOMittelwert ("Mittelwert"): reduction, smoothing, or averaging of data blocks.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "blocks/stats/TOAvgFunction.h"
#include "host/parameter_block.h"

namespace vynpack {

class TOMittelwert final : public ReportingBlock<AvgParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

private:
    bool startRun(const ChannelBlock& input);

    std::unique_ptr<TOAvgFunction> strategy_;  // of this run
    int channels_ = 0;
};

}  // namespace vynpack
