// Spectra of many data blocks that become one each: their mean, or the last of them.
#pragma once

#include <optional>
#include <vector>

#include "vynhost/diagram/diagram.h"
#include "vynhost/results/sink_input.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// Columns that are known when everything is there.
class FinishedInput : public SinkInput {
public:
    std::uint64_t bytesWith(const ChannelData& block) const override;
    std::optional<double> nextX() const override;
    void writeCells(CellTarget& row) override;
    void writeColumns(CellTarget& row) const override;
    Series axis() const override { return series_.front(); }
    double step() const override;

    void addSeries(std::vector<Series>& all) const override;

protected:
    explicit FinishedInput(const ChartStyle& style) : style_(style) {}

    std::vector<Series> series_;

private:
    const ChartStyle& style_;
    std::size_t row_ = 0;
};

class LastInput : public FinishedInput {
public:
    LastInput(const OutletInfo& outlet, const ChartStyle& style)
        : FinishedInput(style), outlet_(outlet) {}

    void take(const ChannelData& block) override { last_ = block; }
    void finish() override;

private:
    const OutletInfo& outlet_;
    ChannelData last_;
};

// The mean over the data blocks that have the first one's shape; of amplitudes and levels, `power`
// takes the mean of what their squares or energies are.
class MeanInput : public FinishedInput {
public:
    MeanInput(const OutletInfo& outlet, const ChannelData& first, Average average,
              const ChartStyle& style);

    void take(const ChannelData& block) override;
    void finish() override;

private:
    double summand(double y) const;
    double mean(double y) const;

    std::int32_t unit_;
    bool energy_;
    double blocks_ = 0;
};

}  // namespace vynhost
