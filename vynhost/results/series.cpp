#include "vynhost/results/series.h"

#include <array>
#include <cmath>

namespace vynhost {
namespace {

// The head tells what a parameter record may hide: a setting that does not read back.
Quantity quantityOf(const ChannelHeader& header, const Quantity& expected) {
    if (header.yUnit == kUnitDecibel) return plainQuantity("dB");
    if (header.yUnit != kUnitPower || expected.degree % 2 == 0) return expected;
    Quantity unknown;
    unknown.degree = 2;
    return unknown;
}

// Nominal centre frequencies in Hz (IEC 61260-1, annex E), from band 0 of the module's tables on.
constexpr std::array<double, 32> kThirdOctaves = {
    16,   20,   25,   31.5, 40,   50,   63,    80,    100,   125,  160,
    200,  250,  315,  400,  500,  630,  800,   1000,  1250,  1600, 2000,
    2500, 3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};
constexpr std::array<double, 11> kOctaves = {16,   31.5, 63,   125,  250,  500,
                                             1000, 2000, 4000, 8000, 16000};

// Channels that have no name have a number where there are several.
std::string channelName(const std::string& name, const OutletInfo& outlet, int channel,
                        int channels) {
    const auto index = static_cast<std::size_t>(channel);
    const bool known = outlet.channels.size() == static_cast<std::size_t>(channels);
    if (known && !outlet.channels[index].empty()) {
        const std::string& own = outlet.channels[index];
        return own.starts_with(name + " ") ? own : name + " " + own;
    }
    return channels > 1 ? name + " " + std::to_string(channel + 1) : name;
}

}  // namespace

bool overTime(const ChannelHeader& header) {
    return header.xAxisKind == kSeconds || header.xAxisKind == kMilliseconds;
}

bool overBands(const ChannelHeader& header) {
    return (header.axisFlags & (kThirdOctaveBands | kOctaveBands)) != 0;
}

// x of one value. A band outside the tables keeps its number, negative, so that nobody takes it for
// a frequency.
double xOf(const ChannelHeader& header, int sample) {
    const double x = header.xStart + sample * header.xStep;
    if (!overBands(header)) return x;
    const auto centre = [&](const auto& table) {
        const bool known = x >= 0 && x < static_cast<double>(table.size());
        return known ? table[static_cast<std::size_t>(x)] : -x;
    };
    return (header.axisFlags & kThirdOctaveBands) != 0 ? centre(kThirdOctaves) : centre(kOctaves);
}

void nameAxis(Series& series, const ChannelHeader& header, const SignalKind& kind) {
    if (overBands(header)) {
        const bool thirds = (header.axisFlags & kThirdOctaveBands) != 0;
        series.bandEdge = std::pow(10.0, thirds ? 1.0 / 20 : 3.0 / 20);
        series.xName = "f";
        series.xUnit = "Hz";
        return;
    }
    if (kind.overClasses) {
        series.xName = "from";
        series.xUnit = kind.xUnit;
        series.classWidth = header.xStep;
        return;
    }
    switch (header.xAxisKind) {
        case kSeconds: series.xName = "t", series.xUnit = "s"; break;
        case kMilliseconds: series.xName = "t", series.xUnit = "ms"; break;
        case kHertz: series.xName = "f", series.xUnit = "Hz"; break;
        case kKilohertz: series.xName = "f", series.xUnit = "kHz"; break;
        default: series.xName = "x";
    }
}

Series emptySeries(const OutletInfo& outlet, const ChannelData& block, int channel) {
    Series series;
    series.name = channelName(outlet.name, outlet, channel, block.channels());
    series.quantity = quantityOf(block.header, outlet.kind.values);
    nameAxis(series, block.header, outlet.kind);
    return series;
}

Series blockSeries(const OutletInfo& outlet, const ChannelData& block, int channel) {
    Series series = emptySeries(outlet, block, channel);
    for (int i = 0; i < block.samples(); ++i) {
        series.x.push_back(xOf(block.header, i));
        series.y.push_back(block.at(i, channel));
    }
    return series;
}

Series namedSeries(const OutletInfo& outlet, std::size_t quantity, int channel, int channels) {
    Series series;
    series.name =
        channelName(outlet.name + " " + outlet.values[quantity].name, outlet, channel, channels);
    series.quantity = valueQuantity(outlet.values[quantity], outlet.kind);
    return series;
}

std::string withUnit(const std::string& name, const std::string& unit) {
    return unit.empty() ? name : name + " [" + unit + "]";
}

}  // namespace vynhost
