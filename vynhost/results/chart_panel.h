// One panel of a chart: curves, ranges and bars of one unit, with their axis and their legend.
#pragma once

#include <string>
#include <vector>

#include "vynhost/results/chart_axis.h"
#include "vynhost/results/svg_elements.h"

namespace vynhost {

inline constexpr double kChartFont = 13;

// A curve as it is drawn.
struct ChartCurve {
    struct Value {
        double from;  // x, of a bar its begin and end
        double to;
        double high;  // not finite: a gap
        double low;   // of a range its lowest
    };
    std::string name;
    std::size_t number = 0;  // among all curves of the chart, which gives the colour
    bool bars = false;
    bool range = false;
    std::vector<Value> values;
};

struct ChartPanel {
    // Of the plot, in pixels.
    static constexpr double kLeft = 78;
    static constexpr double kWidth = 798;
    static constexpr double kRight = 24;

    static double xPixel(const ChartAxis& axis, double x) { return kLeft + kWidth * axis.place(x); }

    // 0 where there is none.
    double legendWidth() const;
    // All but the numbers below the x axis. `number` tells the panels of a sheet apart.
    std::string draw(const ChartAxis& xAxis, const std::vector<Tick>& xTicks, bool xGrid,
                     const TickText& text, std::size_t number) const;

    std::string unit;
    std::vector<ChartCurve> curves;
    bool fromBelow = false;  // levels: bars have no zero to stand on
    bool hasLegend = false;
    double top = 0;
    double height = 0;

private:
    ChartAxis yAxis() const;
    double yPixel(const ChartAxis& axis, double y) const;
    bool drawsBars() const;
    std::vector<std::string> legendRows() const;
    std::string drawFrame(const ChartAxis& xAxis, const std::vector<Tick>& xTicks, bool xGrid,
                          const ChartAxis& axis, const TickText& text) const;
    std::string drawBars(const ChartCurve& curve, std::size_t place, const ChartAxis& xAxis,
                         const ChartAxis& axis) const;
    std::string drawRange(const ChartCurve& curve, const ChartAxis& xAxis,
                          const ChartAxis& axis) const;
    std::string drawLine(const ChartCurve& curve, const ChartAxis& xAxis,
                         const ChartAxis& axis) const;
    std::string drawLegend() const;
};

// Of a band with this nominal centre frequency (IEC 61260-1: 10^(3/10) an octave).
double exactCentre(double nominal);

}  // namespace vynhost
