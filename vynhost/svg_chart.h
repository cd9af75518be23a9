// A line chart as SVG: axes with round ticks, a legend, readable on screen and in print.
#pragma once

#include <string>
#include <vector>

#include "vynhost/results.h"

namespace vynhost {

struct ChartStyle {
    std::string title;
    bool logX = false;
    bool decibels = false;
    double reference = 1;
};

std::string svgChart(const std::vector<Series>& series, const ChartStyle& style);

}  // namespace vynhost
