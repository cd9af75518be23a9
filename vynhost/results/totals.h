// What the results of a run come to, in a number each: a recording's row in a summary.
#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "vynhost/diagram/diagram.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// Of every place that a sink shows, per channel: of levels and statistics the last row, of signals
// rms and peak, of bands their sum, of spectra the highest line of their mean; powers are averaged.
class Totals {
public:
    // Listens to the runner, which it must not outlive, nor the diagram.
    Totals(const Diagram& diagram, Runner& runner);
    Totals(const Totals&) = delete;
    Totals& operator=(const Totals&) = delete;

    // After the run: names with their units, each once, and values.
    std::vector<std::pair<std::string, double>> values() const;

private:
    struct Place {
        const SinkEntry* sink;
        const OutletInfo* outlet;
        ChannelData last = {};
        std::vector<double> squares = {};  // of all values by channel, or of each line
        std::vector<double> peaks = {};    // by channel
        double count = 0;
    };
    static void take(Place& place, const ChannelData& block);

    std::deque<Place> places_;
};

}  // namespace vynhost
