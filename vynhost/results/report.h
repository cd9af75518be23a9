// A report: what a run has found and how, on one page that a browser opens without a network.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
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

struct Report {
    const Diagram& diagram;
    const Runner& runner;
    const std::deque<Sink>& sinks;
    std::vector<Comparison> comparisons;  // in the order of the diagram
    ReportedProgram program;
    Language language = Language::english;
};

// The page as HTML, after the run. It holds the curves as the sinks' pictures show them: of long
// ones the lowest and the highest value of every section, none of which is as wide as a pixel;
// everything that comes from outside stands in it as data, and no other script than the page's own
// runs.
std::string reportPage(const Report& report);

}  // namespace vynhost
