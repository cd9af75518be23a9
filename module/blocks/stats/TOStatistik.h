// TOStatistik ("Statistik"): up to 21 statistical measures of every channel, block by block.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/stats/TOStatFunktion.h"
#include "host/channel_block.h"
#include "host/parameter_block.h"

namespace vynpack {

struct StatistikParameters {
    static constexpr std::int32_t kRecordSizeWord = 76;

    // How the measures leave the block.
    enum OutputMode : std::int16_t { kOneOutput = 1052, kOutputPerMeasure = 1053 };

    std::array<std::int16_t, kStatistics> selected{};  // non-zero = selected
    std::int16_t outputMode = kOneOutput;
    std::array<std::uint8_t, 32> reserved{};

    template <class Record, class Self>
    static void fields(Record& record, Self& self) {
        for (auto& flag : self.selected)
            record(flag);
        record(self.outputMode, self.reserved);
    }

    static std::span<const Keyword<StatistikParameters>> keywords();
};

class TOStatistik final : public ReportingBlock<StatistikParameters> {
public:
    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;

    // The number of outputs that the connector string names; the dialog sets it.
    void setActiveCount(int count) { activeCount_ = count; }

private:
    // The measures of the run that are sent.
    std::span<const Statistic> measures() const;
    std::size_t outputCount() const;
    bool outputsFree(const SimulationRecord& record) const;
    bool startRun(const ChannelBlock& input);
    void compute(const ChannelBlock& input, std::span<float> results);
    bool sendResults(SimulationRecord& record, const ChannelBlock& input,
                     std::span<const float> results);

    StatFunctions functions_;
    std::vector<Statistic> active_;  // the selected measures of this run
    int activeCount_ = 0;
    int channels_ = 0;
    // The input whose results are computed but could not be sent; they are kept for the next try.
    MemoryHandle unsent_ = MemoryHandle::none;
};

}  // namespace vynpack
