// A sink: a table and a picture of what comes out at some places of a diagram, made while it comes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "vynhost/base/memory_limit.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/series.h"
#include "vynhost/results/sink_input.h"
#include "vynhost/results/svg_chart.h"
#include "vynhost/results/table_file.h"
#include "vynhost/results/table_row.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// Its memory does not grow with the length of the recording, apart from a few bytes per data block:
// rows are written as soon as all columns have come that far, pictures keep what they can show, and
// data blocks that become a column each wait in a temporary file.
class Sink {
public:
    // Says which files it is going to open. Raises InputError for names that it can't have.
    static void claimFiles(const SinkEntry& entry, ResultFiles& files);
    // Opens its files and listens to the runner, which it must not outlive, nor the style of its
    // tables. Raises InputError for values that nobody names, RunError for files that can't be
    // written.
    Sink(const SinkEntry& entry, Runner& runner, ResultFiles& files,
         const TableStyle& tables = kPointTables);
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    // After the run: completes table and picture. Raises RunError when nothing came or the curves
    // do not share their x.
    void finish();

    // What the picture shows, after the run: signals over time as one curve per channel, anything
    // else as one per channel and data block (of many, the lowest and the highest values), or one
    // per channel when the sink averages.
    std::vector<Series> series() const;
    // After the run, of a sink with a part in the report.
    std::vector<Spectrogram> spectrograms() const;
    const SinkEntry& entry() const noexcept { return entry_; }
    const ChartStyle& style() const noexcept { return style_; }

private:
    struct Place {
        const OutletInfo* outlet;
        std::unique_ptr<SinkInput> input;  // once its first data block is there
        std::uint64_t bytes = 0;           // that it keeps
        std::optional<double> nextX = {};  // of its next row, where there is one
    };
    void take(Place& place, const ChannelData& block);
    void limitMemory(Place& place, const ChannelData& block);
    void checkAxes() const;
    CellTarget& cells();
    void openTable(TableKind kind, const std::string& name, ResultFiles& files,
                   const TableStyle& style);
    void describeSubject();
    void writeHead();
    void writeRow();
    void writeNotes();
    bool allHaveNextRow();
    bool anyHasNextRow();

    const SinkEntry& entry_;
    ChartStyle style_;
    std::vector<Place> places_;
    MemoryPart memory_;
    std::uint64_t bytes_ = 0;      // of all places
    ResultFile* table_ = nullptr;  // the first of them
    std::vector<std::unique_ptr<TableFile>> tables_;
    CellFan allTables_;
    TableSubject subject_;
    ResultFile* picture_ = nullptr;
    bool headWritten_ = false;
};

}  // namespace vynhost
