// vynhost level: a sound level meter for recordings. The level block gives what it has; the rest
// are the host's own sums over the weighted signal.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "vynhost/command/measurement.h"

namespace vynhost {

struct LevelArguments : MeasurementArguments {
    std::string weighting = "A";           // A, B, C or Z
    std::string time = "F";                // F, S or I
    std::string every = "1s";              // one row
    int clock = 5;                         // s: 1, 3 or 5
    std::vector<double> percentiles = {};  // % of the time
    bool bands = false;                    // third-octave levels beside it
};

// The diagram of it, for this recording. Raises InputError.
std::string levelDiagram(const LevelArguments& arguments, const RecordingFacts& facts);

// Measures, prints tables, and writes level.csv, level_total.csv and what the diagram writes, where
// there is a folder for it. Raises RunError.
void measureLevel(const LevelArguments& arguments, std::ostream& out);

}  // namespace vynhost
