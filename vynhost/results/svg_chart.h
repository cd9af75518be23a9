// A line chart as SVG: axes with round ticks, a legend, readable on screen and in print.
#pragma once

#include <string>
#include <vector>

#include "vynhost/results/series.h"

namespace vynhost {

struct ChartStyle {
    std::string title;
    bool logX = false;
    bool decibels = false;
    double reference = 1;
};

// The height at which a value is drawn: itself, or its level.
double drawnHeight(double y, const Series& series, const ChartStyle& style);
// The unit of such heights: "dB re 20 uPa", or the curve's own.
std::string heightUnit(const Series& series, const ChartStyle& style,
                       Letters letters = Letters::plain);

std::string svgChart(const std::vector<Series>& series, const ChartStyle& style);

}  // namespace vynhost
