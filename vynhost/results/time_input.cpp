#include "vynhost/results/time_input.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace vynhost {

TimeInput::TimeInput(const OutletInfo& outlet, const ChannelData& first, const ChartStyle& style,
                     bool hasTable)
    : style_(style), hasTable_(hasTable), step_(first.header.xStep) {
    for (int channel = 0; channel < first.channels(); ++channel) {
        curves_.emplace_back(emptySeries(outlet, first, channel), style);
    }
}

void TimeInput::take(const ChannelData& block) {
    if (block.header.xStart != 0) next_ = block.header.xStart;
    const auto channels = static_cast<std::size_t>(std::max(block.channels(), 0));
    const std::span whole(block.values.data(),
                          static_cast<std::size_t>(block.samples()) * channels);
    for (std::size_t c = 0; c < std::min(curves_.size(), channels) && c < whole.size(); ++c) {
        curves_[c].points.add(next_, block.header.xStep, whole.subspan(c), channels);
    }
    if (hasTable_ && block.samples() > 0) {
        waiting_.push_back({next_, block});
        waitingValues_ += block.values.size();
    }
    next_ += block.samples() * block.header.xStep;
}

std::uint64_t TimeInput::bytesWith(const ChannelData& block) const {
    std::uint64_t bytes = 0;
    for (const FlowingCurve& curve : curves_)
        bytes += curve.points.bytesWith(static_cast<std::uint64_t>(block.samples()));
    if (hasTable_) bytes += (waitingValues_ + block.values.size()) * sizeof(float);
    return bytes;
}

void TimeInput::writeColumns(CellTarget& row) const {
    for (const FlowingCurve& curve : curves_)
        addColumn(row, curve.series, style_);
}

std::optional<double> TimeInput::nextX() const {
    if (waiting_.empty()) return std::nullopt;
    return waiting_.front().start + sample_ * waiting_.front().data.header.xStep;
}

void TimeInput::writeCells(CellTarget& row) {
    if (waiting_.empty()) {
        row.addEmpty(curves_.size());
        return;
    }
    const ChannelData& data = waiting_.front().data;
    for (std::size_t c = 0; c < curves_.size(); ++c) {
        if (static_cast<int>(c) < data.channels()) {
            addHeight(row, data.at(sample_, static_cast<int>(c)), curves_[c].series, style_);
        } else {
            row.addEmpty();
        }
    }
    if (++sample_ < data.samples()) return;
    waitingValues_ -= data.values.size();
    waiting_.pop_front();
    sample_ = 0;
}

void TimeInput::addSeries(std::vector<Series>& all) const {
    for (const FlowingCurve& curve : curves_)
        all.push_back(curve.complete());
}

}  // namespace vynhost
