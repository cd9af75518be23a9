// A chart as SVG, readable on screen and in print: curves, filled ranges and bars over one x axis,
// a panel for each unit, a legend beside each panel.
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
    char decimal = '.';
};

// Whether values are drawn as their levels.
bool drawsLevels(const Series& series, const ChartStyle& style);
// The height at which a value is drawn: itself, or its level.
double drawnHeight(double y, const Series& series, const ChartStyle& style);
// The unit of such heights: "dB re 20 uPa", or the curve's own.
std::string heightUnit(const Series& series, const ChartStyle& style,
                       Letters letters = Letters::plain);

// Of at least one curve; all of them have the first one's x axis.
std::string svgChart(const std::vector<Series>& series, const ChartStyle& style);

}  // namespace vynhost
