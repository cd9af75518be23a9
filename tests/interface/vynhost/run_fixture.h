// Diagrams run from the recording to the result file.
#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "interface/vynhost/diagram_fixture.h"
#include "vynhost/results/comparison.h"
#include "vynhost/results/series.h"
#include "vynhost/results/sink.h"

namespace vynhost::test {

// What a run leaves behind, and what came out at the places that its sinks and comparisons ask for.
struct RunResult {
    struct Collected {
        std::vector<ChannelData> blocks;
    };
    const Collected& collected(const ConnectorName& name) const { return places.at(name.text()); }
    std::vector<Series> series(std::size_t sink) const { return sinks.at(sink).series(); }
    Comparison comparison(std::size_t index) const { return comparers.at(index).result(); }

    std::map<std::string, Collected> places;
    std::deque<Sink> sinks;
    std::deque<Comparer> comparers;
    std::vector<std::string> notes;
    std::vector<std::string> tables;  // per sink
};

class RunTest : public DiagramTest {
protected:
    using Inputs = std::map<std::string, std::filesystem::path>;

    // Runs the text as a diagram and hands over what became of it.
    void run(const std::string& toml, const std::function<void(const RunResult&)>& look,
             const Inputs& inputs = {});
    void runFile(const std::filesystem::path& file,
                 const std::function<void(const RunResult&)>& look, const Inputs& inputs = {});
    // How the tables are written.
    const TableStyle* tables = &kPointTables;
    std::uint64_t memory = MemoryLimit::kUsual;  // of a run, in bytes
    static std::vector<float> valuesOf(const RunResult& result, const std::string& node,
                                       const std::string& letter = "");
};

}  // namespace vynhost::test
