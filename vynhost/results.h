// What a run leaves behind: tables, pictures, comparisons.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "vynhost/diagram.h"
#include "vynhost/runner.h"

namespace vynhost {

// One curve: x and y of equal length.
struct Series {
    std::string name;
    std::string unit;
    std::string xName;
    std::string xUnit;
    bool isPower = false;  // of a squared quantity: 10 lg, not 20 lg
    double bandEdge = 0;   // of bands: a band's upper edge over its centre
    std::vector<double> x;
    std::vector<double> y;
};

// The curves of a sink: signals over time as one curve per channel, anything else as one per
// channel and data block, or one per channel when the sink averages.
std::vector<Series> seriesOf(const SinkSpec& sink, const Runner& runner);

// One header row, the x column first. Raises InputError when the curves do not share their x.
std::string csvOf(const SinkSpec& sink, const std::vector<Series>& series);

struct Comparison {
    std::string line;  // for the reader
    bool within = true;
    double largest = 0;
    double rms = 0;
};
Comparison compareSignals(const CompareSpec& compare, const Runner& runner);

// Files that appear together, once all of them are written, or not at all.
class ResultFiles {
public:
    explicit ResultFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~ResultFiles();
    ResultFiles(const ResultFiles&) = delete;
    ResultFiles& operator=(const ResultFiles&) = delete;

    void add(const std::string& name, const std::string& content);
    // The files' final paths. Raises RunError when one cannot be written.
    std::vector<std::filesystem::path> commit();

private:
    struct File {
        std::filesystem::path temporary;
        std::filesystem::path final;
    };
    std::filesystem::path folder_;
    std::vector<File> files_;
};

// Replaces a file's content as a whole; its permissions stay. Raises RunError, and then the file is
// as it was.
void replaceFile(const std::filesystem::path& file, const std::string& content);

}  // namespace vynhost
