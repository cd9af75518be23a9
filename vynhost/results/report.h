// A report: what a run has found and how, on one page that a browser opens without a network.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "vynhost/base/bilingual.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/results/comparison.h"
#include "vynhost/results/sink.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// What has computed it.
struct ReportedProgram {
    std::string version;  // of this program
    std::int64_t interface = 0;
    std::filesystem::path module;
    std::filesystem::path library;
    std::string libraryVersion;
};

// Results that no block gives.
struct ReportTable {
    struct Column {
        Bilingual head;
        int decimals = 2;  // of its numbers
    };
    using Cell = std::variant<std::string, double>;

    Bilingual title;
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows = {};
    Bilingual note = {};  // below it
};

struct Report {
    std::string title;
    const Diagram& diagram;
    const Runner& runner;
    const std::deque<Sink>& sinks;
    std::vector<Comparison> comparisons;  // in the order of the diagram
    ReportedProgram program;
    Language language = Language::english;
    std::vector<ReportTable> tables = {};
    std::vector<std::string> silent = {};  // sources and blocks of which no warning is shown
};

// The page as HTML, after the run. It holds the curves as the sinks' pictures show them: of long
// ones the lowest and the highest value of every section, none of which is as wide as a pixel;
// everything that comes from outside stands in it as data, and no other script than the page's own
// runs.
std::string reportPage(const Report& report);

}  // namespace vynhost
