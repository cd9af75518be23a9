#include "vynhost/results/averaged_input.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vynhost {

// --- Finished columns -----------------------------------------------------------------------

// The data block, and its x and y as curves.
std::uint64_t FinishedInput::bytesWith(const ChannelData& block) const {
    return block.values.size() * (sizeof(float) + 2 * sizeof(double));
}

std::optional<double> FinishedInput::nextX() const {
    if (series_.empty() || row_ >= series_.front().x.size()) return std::nullopt;
    return series_.front().x[row_];
}

void FinishedInput::writeCells(CellTarget& row) {
    for (const Series& series : series_) {
        if (row_ < series.y.size()) {
            addHeight(row, static_cast<float>(series.y[row_]), series, style_);
        } else {
            row.addEmpty();
        }
    }
    ++row_;
}

void FinishedInput::writeColumns(CellTarget& row) const {
    for (const Series& series : series_)
        addColumn(row, series, style_);
}

double FinishedInput::step() const {
    const std::vector<double>& x = series_.front().x;
    return x.size() < 2 ? 0 : x[1] - x[0];
}

void FinishedInput::addSeries(std::vector<Series>& all) const {
    std::ranges::copy(series_, std::back_inserter(all));
}

// --- The last data block --------------------------------------------------------------------

void LastInput::finish() {
    for (int channel = 0; channel < last_.channels(); ++channel) {
        series_.push_back(blockSeries(outlet_, last_, channel));
    }
}

// --- The mean -------------------------------------------------------------------------------

MeanInput::MeanInput(const OutletInfo& outlet, const ChannelData& first, Average average,
                     const ChartStyle& style)
    : FinishedInput(style),
      unit_(first.header.yUnit),
      energy_(average == Average::power && unit_ != kUnitPower) {
    for (int channel = 0; channel < first.channels(); ++channel) {
        series_.push_back(blockSeries(outlet, first, channel));
        std::ranges::fill(series_.back().y, 0.0);
    }
}

void MeanInput::take(const ChannelData& block) {
    if (block.channels() != static_cast<int>(series_.size()) ||
        block.samples() != static_cast<int>(series_.front().y.size())) {
        return;
    }
    for (std::size_t c = 0; c < series_.size(); ++c) {
        for (int i = 0; i < block.samples(); ++i) {
            series_[c].y[static_cast<std::size_t>(i)] += summand(block.at(i, static_cast<int>(c)));
        }
    }
    ++blocks_;
}

void MeanInput::finish() {
    for (Series& series : series_) {
        for (double& y : series.y)
            y = mean(y / blocks_);
    }
}

double MeanInput::summand(double y) const {
    if (!energy_) return y;
    return unit_ == kUnitDecibel ? std::pow(10.0, y / 10) : y * y;
}

double MeanInput::mean(double y) const {
    if (!energy_) return y;
    return unit_ == kUnitDecibel ? 10 * std::log10(y) : std::sqrt(y);
}

}  // namespace vynhost
