// Signals over time: the samples of all data blocks, one behind the other.
#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "vynhost/results/flowing_curve.h"
#include "vynhost/results/sink_input.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// A data block that names its own start is put there; one that does not follows the last.
class TimeInput : public SinkInput {
public:
    TimeInput(const OutletInfo& outlet, const ChannelData& first, const ChartStyle& style,
              bool hasTable);

    void take(const ChannelData& block) override;
    std::uint64_t bytesWith(const ChannelData& block) const override;

    bool flows() const override { return true; }
    bool isSignal() const override { return true; }
    std::optional<double> nextX() const override;
    void writeHead(CellTarget& row, double x) const override { row.addNumber(x, kXDigits); }
    void writeCells(CellTarget& row) override;
    void writeColumns(CellTarget& row) const override;
    Series axis() const override { return curves_.front().series; }
    double step() const override { return step_; }

    void addSeries(std::vector<Series>& all) const override;

private:
    struct Waiting {
        double start;
        ChannelData data;
    };

    const ChartStyle& style_;
    bool hasTable_;
    double step_;
    double next_ = 0;
    std::vector<FlowingCurve> curves_;
    std::deque<Waiting> waiting_;
    std::uint64_t waitingValues_ = 0;
    int sample_ = 0;  // of the first that waits
};

}  // namespace vynhost
