#include "interface/vynhost/run_fixture.h"

#include <algorithm>

#include "vynhost/results/result_files.h"

namespace vynhost::test {

void RunTest::run(const std::string& toml, const std::function<void(const RunResult&)>& look,
                  const Inputs& inputs) {
    runFile(write("d.toml", toml), look, inputs);
}

void RunTest::runFile(const std::filesystem::path& file,
                      const std::function<void(const RunResult&)>& look, const Inputs& inputs) {
    const Diagram diagram = readDiagram(file);
    Runner runner(host, diagram, inputs, memory);
    RunResult result;
    const auto collect = [&](const ConnectorName& name) {
        if (result.places.contains(name.text())) return;
        RunResult::Collected& place = result.places[name.text()];
        runner.listen(name, [&place](const ChannelData& block) { place.blocks.push_back(block); });
    };
    ResultFiles files(folder() / "out", {}, true);
    for (const SinkEntry& sink : diagram.sinks) {
        std::ranges::for_each(sink.from, collect);
        result.sinks.emplace_back(sink, runner, files, *tables);
    }
    for (const CompareEntry& compare : diagram.comparisons) {
        collect(compare.of);
        collect(compare.with);
        result.comparers.emplace_back(compare, runner);
    }
    runner.run();
    for (Sink& sink : result.sinks)
        sink.finish();
    files.commit();
    result.notes = runner.notes();
    for (const SinkEntry& sink : diagram.sinks) {
        result.tables.push_back(sink.csv.empty() ? "" : read(folder() / "out" / sink.csv));
    }
    look(result);
}

std::vector<float> RunTest::valuesOf(const RunResult& result, const std::string& node,
                                     const std::string& letter) {
    std::vector<float> all;
    for (const ChannelData& block : result.collected({node, letter, {}}).blocks) {
        all.insert(all.end(), block.values.begin(), block.values.end());
    }
    return all;
}

}  // namespace vynhost::test
