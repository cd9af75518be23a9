// What a sink shows: curves with their names, units and axes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vynhost/diagram/quantity.h"
#include "vynhost/interface/channel_data.h"
#include "vynhost/run/runner.h"

namespace vynhost {

// One curve, or the range between two: x and y of equal length.
struct Series {
    std::string name;
    Quantity quantity;
    std::string xName;
    std::string xUnit;
    double bandEdge = 0;    // of bands: a band's upper edge over its centre
    double classWidth = 0;  // of classes, of which x is the lower limit
    std::vector<double> x;
    std::vector<double> y;          // NaN: there is no value
    std::vector<double> lows;       // of a range its lowest values, where y are its highest
    std::uint64_t thinnedFrom = 0;  // so many values; 0: all of them are there
};

// The data lie over time, one data block behind the other.
bool overTime(const ChannelHeader& header);

// x are numbers of bands.
bool overBands(const ChannelHeader& header);

// x of one value: of a band, its centre frequency.
double xOf(const ChannelHeader& header, int sample);

void nameAxis(Series& series, const ChannelHeader& header, const SignalKind& kind);

// A curve of one channel, without values.
Series emptySeries(const OutletInfo& outlet, const ChannelData& block, int channel);
// With the values of one data block.
Series blockSeries(const OutletInfo& outlet, const ChannelData& block, int channel);
// A named quantity of one channel, without values.
Series namedSeries(const OutletInfo& outlet, std::size_t quantity, int channel, int channels);

// "name [unit]"
std::string withUnit(const std::string& name, const std::string& unit);

}  // namespace vynhost
