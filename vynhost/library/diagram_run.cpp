#include "vynhost/library/diagram_run.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

#include "vynhost/base/text.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/run/runner.h"

namespace vynhost {
namespace {

using nlohmann::ordered_json;

std::string nameOf(Average average) {
    switch (average) {
        case Average::mean: return "mean";
        case Average::power: return "power";
        case Average::last: return "last";
        default: return "none";
    }
}

ordered_json jsonOf(const OutletInfo& outlet, int place) {
    ordered_json names = ordered_json::array();
    for (const ValueName& value : outlet.values)
        names.push_back(value.name);
    const Quantity& quantity = outlet.kind.values;
    return {{"place", place},
            {"name", outlet.name},
            {"unit", quantity.unitText(Letters::print)},
            {"degree", quantity.degree},
            {"hasLevel", quantity.hasLevel},
            {"quantities", names},
            {"overIntervals", outlet.overIntervals}};
}

// The runner would name the command line's option.
void requireSources(const Diagram& diagram,
                    const std::map<std::string, std::filesystem::path>& inputs) {
    std::vector<std::string> names;
    for (const SourceEntry& source : diagram.sources)
        names.push_back(source.name);
    for (const auto& input : inputs) {
        if (std::ranges::find(names, input.first) != names.end()) continue;
        throw InputError(textOf(diagram.file) + ": there is no source " + input.first +
                         didYouMean(input.first, names));
    }
}

}  // namespace

std::string runDiagram(ModuleHost& host, const std::filesystem::path& file,
                       const std::map<std::string, std::filesystem::path>& inputs,
                       std::uint64_t memory, const PlaceListener& take) {
    const Diagram diagram = readDiagram(file);
    requireResults(diagram);
    requireSources(diagram, inputs);
    Runner runner(host, diagram, inputs, memory, "memory");
    ordered_json sinks = ordered_json::array();
    int place = 0;
    for (const SinkEntry& sink : diagram.sinks) {
        ordered_json places = ordered_json::array();
        for (const ConnectorName& name : sink.from) {
            places.push_back(jsonOf(runner.outlet(name), place));
            runner.listen(name, [&take, place](const ChannelData& block) { take(place, block); });
            ++place;
        }
        sinks.push_back({{"name", sink.name},
                         {"average", nameOf(sink.average)},
                         {"decibels", sink.decibels},
                         {"reference", sink.reference},
                         {"values", sink.values},
                         {"places", places}});
    }
    runner.run();
    return ordered_json{{"sinks", sinks}, {"notes", runner.notes()}}.dump();
}

}  // namespace vynhost
