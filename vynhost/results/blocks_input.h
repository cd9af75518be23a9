// Spectra of many data blocks side by side: a column for each.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vynhost/diagram/diagram.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/sink_input.h"
#include "vynhost/results/temporary_file.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// Curves of one shape: all of a few, of many the range that they cover.
class CurveBundle {
public:
    void add(Series curve);
    std::uint64_t curves() const noexcept { return std::min(count_, kMostCurves); }
    void addTo(std::vector<Series>& all) const;

private:
    static constexpr std::uint64_t kMostCurves = 24;

    void widenTo(const Series& curve);

    std::uint64_t count_ = 0;
    std::vector<Series> curves_;
    Series range_;
};

// Data blocks wait in a file until the table, in which they stand side by side, can be written.
class BlocksInput : public SinkInput {
public:
    // Without a table there is no file.
    BlocksInput(const SinkEntry& entry, const OutletInfo& outlet, const ChannelData& first,
                const ChartStyle& style, const ResultFile* table);

    // Raises InputError for another x axis than the first one's, RunError for a full disk.
    void take(const ChannelData& block) override;
    std::uint64_t bytesWith(const ChannelData& block) const override;

    std::optional<double> nextX() const override;
    void writeCells(CellTarget& row) override;
    void writeColumns(CellTarget& row) const override;
    Series axis() const override;
    double step() const override;

    void addSeries(std::vector<Series>& all) const override;
    void addSpectrograms(std::vector<Spectrogram>& all) const override;

private:
    Series description(std::size_t channel) const;
    void checkAxis(const ChannelData& block) const;
    void load();

    const SinkEntry& entry_;
    const OutletInfo& outlet_;
    const ChartStyle& style_;
    ChannelHeader header_;  // the first data block's
    std::size_t channels_;
    std::vector<CurveBundle> bundles_;       // per channel
    std::vector<Spectrogram> spectrograms_;  // the same, where a report shows them
    std::vector<std::uint32_t> samples_;     // per data block
    std::uint32_t rows_ = 0;
    std::optional<WaitingBytes> waiting_;  // where there is a table

    // The next row, and the rows that are loaded: sample, then channel, data block by data block.
    std::size_t row_ = 0;
    std::vector<float> loaded_;
    std::size_t chunkRows_ = 0;
    std::size_t loadedBegin_ = 0;
    std::size_t loadedEnd_ = 0;
};

}  // namespace vynhost
