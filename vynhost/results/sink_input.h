// What one place of a diagram contributes to a sink: columns of the table, curves of the picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vynhost/base/messages.h"
#include "vynhost/interface/channel_data.h"
#include "vynhost/results/series.h"
#include "vynhost/results/spectrogram.h"
#include "vynhost/results/svg_chart.h"
#include "vynhost/results/table_row.h"

namespace vynhost {

// One kind of data each; which one it is shows in the first data block.
class SinkInput {
public:
    SinkInput() = default;
    SinkInput(const SinkInput&) = delete;
    SinkInput& operator=(const SinkInput&) = delete;
    virtual ~SinkInput() = default;

    virtual void take(const ChannelData& block) = 0;
    // What it keeps when it has taken a further data block like this, at most, in bytes.
    virtual std::uint64_t bytesWith(const ChannelData& block) const = 0;
    // No data comes any more.
    virtual void finish() {}

    // --- The table ---
    // Rows can be told while data comes; else they are there after `finish`.
    virtual bool flows() const { return false; }
    // Samples over time.
    virtual bool isSignal() const { return false; }
    // The x of the next row, when it is there.
    virtual std::optional<double> nextX() const = 0;
    // What stands before the cells of the next row, which is at this x.
    virtual void writeHead(CellTarget& row, double x) const;
    // Adds the next row's cells and goes on to the row behind it; past the end empty cells.
    virtual void writeCells(CellTarget& row) = 0;
    // Adds the columns' names.
    virtual void writeColumns(CellTarget& row) const = 0;
    // The first column's name, and the x axis.
    virtual Series axis() const = 0;
    // The name of a second column with where rows end; none where they have but one x.
    virtual std::string endColumn() const;
    // How far apart x values are.
    virtual double step() const = 0;

    // --- The picture ---
    virtual void addSeries(std::vector<Series>& all) const = 0;
    // Where there are many spectra, and a report shows them.
    virtual void addSpectrograms(std::vector<Spectrogram>&) const {}
};

// A cell with the value, or with its level where the style asks for one.
void addHeight(CellTarget& row, float value, const Series& series, const ChartStyle& style);
// A column's name, with the unit of such values.
void addColumn(CellTarget& row, const Series& series, const ChartStyle& style);

// Significant digits of an x.
inline constexpr int kXDigits = 12;

// What is wrong with names that an error puts before it.
inline constexpr const char* kDifferentAxes =
    words(" have different x axes; give each a sink of its own");

}  // namespace vynhost
