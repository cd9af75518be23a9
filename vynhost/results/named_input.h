// Named quantities: a row per data block.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "vynhost/diagram/diagram.h"
#include "vynhost/results/flowing_curve.h"
#include "vynhost/results/sink_input.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// Where data blocks start at 0 each time they are counted, which shows in the second one. Rows of
// intervals have a begin and an end; a picture shows them at their end, when they are known.
class NamedInput : public SinkInput {
public:
    NamedInput(const SinkEntry& entry, const OutletInfo& outlet, const ChannelData& first,
               const ChartStyle& style);

    void take(const ChannelData& block) override;
    std::uint64_t bytesWith(const ChannelData& block) const override;
    void finish() override;

    bool flows() const override { return true; }
    std::optional<double> nextX() const override;
    void writeHead(CellTarget& row, double x) const override;
    void writeCells(CellTarget& row) override;
    void writeColumns(CellTarget& row) const override;
    Series axis() const override;
    std::string endColumn() const override;
    double step() const override { return step_; }

    void addSeries(std::vector<Series>& all) const override;

private:
    struct Row {
        double x;
        double end;  // of an interval
        std::vector<std::optional<float>> values;
    };

    void decide(bool counted, const ChannelData& second);
    void addRow(const ChannelData& block);

    const ChartStyle& style_;
    bool hasTable_;
    bool overIntervals_;
    Series axis_;
    std::vector<std::size_t> places_;  // of the columns in a data block
    std::vector<FlowingCurve> curves_;
    ChannelData first_;
    std::uint64_t blocks_ = 0;
    std::uint64_t added_ = 0;
    bool counted_ = false;
    double step_ = 0;
    std::deque<Row> rows_;
};

}  // namespace vynhost
