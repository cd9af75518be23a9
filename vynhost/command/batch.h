// vynhost run --each: one diagram over many recordings, in processes side by side. What goes wrong
// in one of them, a block's crash included, is that recording's affair.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "vynhost/results/table_row.h"

namespace vynhost {

struct BatchArguments {
    std::string diagram;
    std::vector<std::string> each;    // "NAME=PATTERN", and further files of the same source
    std::vector<std::string> inputs;  // NAME=FILE, of the other sources
    std::string out;                  // with {name} in it
    std::string csv = "en";
    double memory = 1;  // GiB, of each run
    std::string report = {};
    std::string language = "en";  // of the report
    int jobs = 0;                 // processes at a time; 0: as many as there are processors
    bool resume = false;
    bool force = false;
    bool quiet = false;
};

// One recording of a batch.
struct BatchEntry {
    std::string name;  // of the file, without its ending
    std::filesystem::path file;
    std::filesystem::path out;
};

// The source and its recordings, in order. Raises InputError for no files, for two of one name and
// for results that would not lie below the folder.
struct BatchPlan {
    std::string source;
    std::filesystem::path folder;  // of the summary: what stands before {name}
    std::vector<BatchEntry> entries;
};
BatchPlan planOf(const BatchArguments& arguments);

// Runs them all. The lines of `out` end with "vynhost: 49 ok, 1 failed". True when all went well.
// Raises RunError where nothing could be begun.
bool runBatch(const BatchArguments& arguments, std::ostream& out, std::ostream& errors);

}  // namespace vynhost
