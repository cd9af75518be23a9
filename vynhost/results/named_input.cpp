#include "vynhost/results/named_input.h"

#include <algorithm>
#include <utility>

namespace vynhost {

NamedInput::NamedInput(const SinkEntry& entry, const OutletInfo& outlet, const ChannelData& first,
                       const ChartStyle& style)
    : style_(style), hasTable_(entry.hasTable()), overIntervals_(outlet.overIntervals) {
    const std::size_t quantities = outlet.values.size();
    const std::size_t channels = first.values.size() / quantities;
    nameAxis(axis_, first.header, {});
    for (std::size_t channel = 0; channel < channels; ++channel) {
        for (std::size_t q = 0; q < quantities; ++q) {
            const std::string& name = outlet.values[q].name;
            const bool asked = std::ranges::find(entry.values, name) != entry.values.end();
            if (!entry.values.empty() && !asked) continue;
            places_.push_back(q * channels + channel);
            curves_.emplace_back(
                namedSeries(outlet, q, static_cast<int>(channel), static_cast<int>(channels)),
                style);
        }
    }
}

void NamedInput::take(const ChannelData& block) {
    if (blocks_++ == 0) {
        first_ = block;
        return;
    }
    if (blocks_ == 2) decide(block.header.xStart == 0, block);
    addRow(block);
}

std::uint64_t NamedInput::bytesWith(const ChannelData&) const {
    std::uint64_t bytes = 0;
    for (const FlowingCurve& curve : curves_)
        bytes += curve.points.bytesWith(1);
    return bytes +
           (rows_.size() + 1) * (sizeof(Row) + places_.size() * sizeof(std::optional<float>));
}

void NamedInput::finish() {
    if (blocks_ == 1) decide(first_.header.xStart == 0 && !overIntervals_, first_);
}

std::optional<double> NamedInput::nextX() const {
    if (rows_.empty()) return std::nullopt;
    return rows_.front().x;
}

void NamedInput::writeHead(CellTarget& row, double x) const {
    row.addNumber(x, kXDigits);
    if (overIntervals_) row.addNumber(rows_.front().end, kXDigits);
}

std::string NamedInput::endColumn() const {
    return overIntervals_ ? withUnit("end", axis_.xUnit) : "";
}

void NamedInput::writeColumns(CellTarget& row) const {
    for (const FlowingCurve& curve : curves_)
        addColumn(row, curve.series, style_);
}

void NamedInput::writeCells(CellTarget& row) {
    if (rows_.empty()) {
        row.addEmpty(places_.size());
        return;
    }
    auto curve = curves_.begin();
    for (const std::optional<float>& value : rows_.front().values) {
        if (value) {
            addHeight(row, *value, curve->series, style_);
        } else {
            row.addEmpty();
        }
        ++curve;
    }
    rows_.pop_front();
}

Series NamedInput::axis() const {
    Series result = axis_;
    if (overIntervals_) result.xName = "begin";
    if (!curves_.empty()) result.name = curves_.front().series.name;
    return result;
}

void NamedInput::addSeries(std::vector<Series>& all) const {
    for (const FlowingCurve& curve : curves_) {
        Series series = curve.complete();
        series.xName = axis_.xName;
        series.xUnit = axis_.xUnit;
        all.push_back(std::move(series));
    }
}

void NamedInput::decide(bool counted, const ChannelData& second) {
    counted_ = counted;
    if (counted) {
        overIntervals_ = false;
        axis_ = {};
        axis_.xName = "block";
    }
    step_ = counted ? 1 : second.header.xStart - first_.header.xStart;
    addRow(first_);
}

void NamedInput::addRow(const ChannelData& block) {
    const double x = counted_ ? static_cast<double>(++added_) : block.header.xStart;
    Row row{x, x + block.header.xStep, {}};
    for (std::size_t i = 0; i < places_.size(); ++i) {
        std::optional<float> value;
        if (places_[i] < block.values.size()) value = block.values[places_[i]];
        if (value) curves_[i].points.add(overIntervals_ ? row.end : row.x, *value);
        row.values.push_back(value);
    }
    if (hasTable_) rows_.push_back(std::move(row));
}

}  // namespace vynhost
