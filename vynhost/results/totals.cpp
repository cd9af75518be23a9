#include "vynhost/results/totals.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "vynhost/results/series.h"
#include "vynhost/results/svg_chart.h"

namespace vynhost {
namespace {

// Powers and densities are squares already; levels have been taken of them.
double squareOf(double value, const ChannelHeader& header) {
    if (header.yUnit == kUnitDecibel) return std::pow(10.0, value / 10);
    return header.yUnit == kUnitPower ? value : value * value;
}

double rootOf(double square, const ChannelHeader& header) {
    if (header.yUnit == kUnitDecibel) return 10 * std::log10(square);
    return header.yUnit == kUnitPower ? square : std::sqrt(square);
}

}  // namespace

Totals::Totals(const Diagram& diagram, Runner& runner) {
    for (const SinkEntry& sink : diagram.sinks) {
        for (const ConnectorName& name : sink.from) {
            Place& place = places_.emplace_back(Place{&sink, &runner.outlet(name)});
            runner.listen(name, [&place](const ChannelData& block) { take(place, block); });
        }
    }
}

void Totals::take(Place& place, const ChannelData& block) {
    const auto channels = static_cast<std::size_t>(block.channels());
    if (!place.outlet->values.empty() || place.outlet->kind.overClasses || channels == 0) {
        place.last = block;
        return;
    }
    const bool time = overTime(block.header);
    if (!time && place.count > 0 && block.values.size() != place.last.values.size()) return;
    place.squares.resize(time ? channels : block.values.size());
    place.peaks.resize(channels);
    for (std::size_t i = 0; i < block.values.size(); ++i) {
        const double value = block.values[i];
        place.squares[time ? i % channels : i] += squareOf(value, block.header);
        double& peak = place.peaks[i % channels];
        peak = std::max(peak, std::abs(value));
    }
    place.count += time ? block.samples() : 1;
    place.last = block;
}

std::vector<std::pair<std::string, double>> Totals::values() const {
    std::vector<std::pair<std::string, double>> result;
    for (const Place& place : places_) {
        const ChartStyle style{"", false, place.sink->decibels, place.sink->reference};
        const ChannelHeader& header = place.last.header;
        const auto add = [&](const Series& series, const std::string& what, double value) {
            const std::string name = withUnit(series.name + what, heightUnit(series, style));
            if (std::ranges::find(result, name, &std::pair<std::string, double>::first) ==
                result.end()) {
                result.emplace_back(name, drawnHeight(value, series, style));
            }
        };
        const std::size_t quantities = place.outlet->values.size();
        if (quantities > 0) {
            const std::size_t channels = place.last.values.size() / quantities;
            for (std::size_t i = 0; i < place.last.values.size() && channels > 0; ++i) {
                const std::size_t quantity = i / channels;
                if (quantity >= quantities) break;
                const auto& wanted = place.sink->values;
                if (!wanted.empty() &&
                    std::ranges::find(wanted, place.outlet->values[quantity].name) ==
                        wanted.end()) {
                    continue;
                }
                add(namedSeries(*place.outlet, quantity, static_cast<int>(i % channels),
                                static_cast<int>(channels)),
                    "", place.last.values[i]);
            }
            continue;
        }
        const bool hasSize = place.outlet->kind.values.hasLevel || overTime(header);
        if (place.count == 0 || !hasSize) continue;
        for (int channel = 0; channel < place.last.channels(); ++channel) {
            const Series series = emptySeries(*place.outlet, place.last, channel);
            const auto c = static_cast<std::size_t>(channel);
            if (overTime(header)) {
                add(series, " rms", rootOf(place.squares[c] / place.count, header));
                add(series, " peak", place.peaks[c]);
                continue;
            }
            const auto channels = static_cast<std::size_t>(place.last.channels());
            double sum = 0;
            std::size_t highest = 0;
            for (std::size_t line = 0; line * channels + c < place.squares.size(); ++line) {
                const double square = place.squares[line * channels + c] / place.count;
                if (square > place.squares[highest * channels + c] / place.count) highest = line;
                if (!std::isnan(square)) sum += square;
            }
            if (overBands(header)) {
                add(series, " sum", rootOf(sum, header));
                continue;
            }
            add(series, " highest",
                rootOf(place.squares[highest * channels + c] / place.count, header));
            result.emplace_back(withUnit(series.name + " highest at", series.xUnit),
                                xOf(header, static_cast<int>(highest)));
        }
    }
    return result;
}

}  // namespace vynhost
