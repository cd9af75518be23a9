// One run of a diagram, from the files that it may write to the files that it has written: what
// every command does that computes something.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vynhost/base/bilingual.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/results/comparison.h"
#include "vynhost/results/report.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/sink.h"
#include "vynhost/run/runner.h"

namespace vynhost {

struct JobSettings {
    std::map<std::string, std::filesystem::path> inputs = {};  // other recordings, by source
    std::filesystem::path out = ".";
    const TableStyle* tables = &kPointTables;
    std::uint64_t memory = MemoryLimit::kUsual;  // bytes
    bool force = false;
    bool showsProgress = false;
    // For a report: the program's version, and what it is called; else as the diagram.
    std::string version = {};
    std::string title = {};
    Language language = Language::english;
};

// "en" or "de".
const TableStyle& tableStyleNamed(std::string_view name);
// What no result of the diagram may replace: itself and the recordings, also those that others
// stand in for.
std::vector<ReadFile> readFiles(const Diagram& diagram,
                                const std::map<std::string, std::filesystem::path>& inputs);

class DiagramJob {
public:
    // Loads the module and sets everything up; the diagram must outlive the job. Raises RunError,
    // or ModuleError, before anything is read.
    DiagramJob(const Diagram& diagram, const JobSettings& settings);

    ModuleHost& host() noexcept { return host_; }
    Runner& runner() noexcept { return runner_; }
    // Further results go there before `commit`.
    ResultFiles& files() noexcept { return files_; }
    // In the order of the diagram.
    const std::deque<Sink>& sinks() const noexcept { return sinks_; }
    const std::vector<Comparison>& comparisons() const noexcept { return compared_; }

    // Runs to the end and completes tables and pictures, under their temporary names.
    void run();
    // Goes into the report, where there is one.
    void addTable(ReportTable table) { reportTables_.push_back(std::move(table)); }
    // The report has no warnings of these sources and blocks.
    void silence(std::vector<std::string> names) { silent_ = std::move(names); }
    // Completes the report; then all get their own names: which are given. Raises RunError when the
    // user has interrupted.
    std::vector<std::filesystem::path> commit();

private:
    void writeReport();

    const Diagram& diagram_;
    JobSettings settings_;
    ResultFiles files_;
    Installation installation_;
    ModuleLibrary module_;
    ModuleHost host_;
    Runner runner_;
    std::deque<Sink> sinks_;
    std::deque<Comparer> comparers_;
    std::vector<Comparison> compared_;
    ResultFile* report_ = nullptr;
    std::vector<ReportTable> reportTables_;
    std::vector<std::string> silent_;
};

}  // namespace vynhost
