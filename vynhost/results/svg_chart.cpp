#include "vynhost/results/svg_chart.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/results/chart_panel.h"
#include "vynhost/results/svg_elements.h"

namespace vynhost {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::vector<ChartCurve> curvesOf(const std::vector<Series>& series, const ChartStyle& style) {
    std::vector<ChartCurve> curves;
    for (const Series& one : series) {
        ChartCurve curve;
        curve.name = one.name;
        curve.bars = one.bandEdge > 0 || one.classWidth > 0;
        for (std::size_t i = 0; i < one.x.size(); ++i) {
            const double x = one.x[i];
            const double y = drawnHeight(one.y[i], one, style);
            ChartCurve::Value value{x, x, y, y};
            if (!one.lows.empty()) value.low = drawnHeight(one.lows[i], one, style);
            if (one.bandEdge > 0) {
                value.from = exactCentre(x) / one.bandEdge;
                value.to = exactCentre(x) * one.bandEdge;
            } else if (one.classWidth > 0) {
                value.to = x + one.classWidth;
            }
            curve.values.push_back(value);
        }
        curve.range = !one.lows.empty();
        curves.push_back(std::move(curve));
    }
    return curves;
}

// What stands beside a panel's axis, which is also what parts panels.
std::string titleOf(const Series& series, const ChartStyle& style) {
    const std::string unit = heightUnit(series, style, Letters::print);
    const bool isFullScale =
        series.quantity.scale == Quantity::Scale::fullScale && series.quantity.degree == 1;
    return unit.empty() && isFullScale ? "full scale = 1" : unit;
}

std::vector<ChartPanel> panelsOf(const std::vector<Series>& series, const ChartStyle& style) {
    std::vector<ChartPanel> panels;
    std::vector<ChartCurve> curves = curvesOf(series, style);
    for (std::size_t i = 0; i < series.size(); ++i) {
        const std::string unit = titleOf(series[i], style);
        auto panel = std::ranges::find(panels, unit, &ChartPanel::unit);
        if (panel == panels.end()) {
            panels.push_back({.unit = unit, .curves = {}});
            panel = panels.end() - 1;
            panel->fromBelow = style.decibels && series[i].quantity.hasLevel;
        }
        curves[i].number = i;
        panel->curves.push_back(std::move(curves[i]));
    }
    return panels;
}

ChartAxis xAxisOf(const std::vector<ChartPanel>& panels, bool log) {
    double low = kInfinity;
    double high = -kInfinity;
    for (const ChartPanel& panel : panels) {
        for (const ChartCurve& curve : panel.curves) {
            for (const ChartCurve::Value& value : curve.values) {
                if (log && !(value.from > 0)) continue;
                // The ends of a line that has no values there are no part of the picture.
                if (!curve.bars && !std::isfinite(value.high)) continue;
                if (!std::isfinite(value.from) || !std::isfinite(value.to)) continue;
                low = std::min(low, value.from);
                high = std::max(high, value.to);
            }
        }
    }
    if (!(low <= high)) low = log ? 1 : 0, high = 10;
    constexpr int kWantedTicks = 9;
    return log ? ChartAxis::logarithmic(low, high) : ChartAxis::linear(low, high, kWantedTicks);
}

// Bands are named by their nominal centres: all of them, or those of the octaves.
std::vector<Tick> bandTicks(const std::vector<Series>& series, const ChartAxis& axis,
                            const TickText& text) {
    constexpr double kRoom = 40;  // pixels for a name
    std::vector<Tick> ticks;
    for (const Series& one : series) {
        if (!(one.bandEdge > 0)) continue;
        for (const double centre : one.x) {
            if (!(centre > 0)) continue;
            const double at = exactCentre(centre);
            const bool known = std::ranges::any_of(
                ticks, [&](const Tick& tick) { return std::abs(tick.at - at) < 1e-6 * at; });
            if (!known) ticks.push_back({at, tickText(centre, text)});
        }
    }
    const double apart =
        ChartPanel::kWidth / static_cast<double>(std::max<std::size_t>(ticks.size(), 1));
    if (apart < kRoom) {
        std::erase_if(ticks, [](const Tick& tick) {
            return std::llround(10 * std::log10(tick.at / 1000)) % 3 != 0;
        });
    }
    std::erase_if(ticks,
                  [&](const Tick& tick) { return tick.at < axis.low() || tick.at > axis.high(); });
    return ticks;
}

// Classes are named by their limits: all of them, or every so many.
std::vector<Tick> classTicks(const Series& series, const ChartAxis& axis, const TickText& text) {
    constexpr double kGap = 12;  // pixels between names
    const double width = series.classWidth;
    const double range = axis.high() - axis.low();
    const std::size_t limits = series.x.size() + 1;
    const auto tickAt = [&](std::size_t i) {
        double at = series.x.front() + static_cast<double>(i) * width;
        if (std::abs(at) < 1e-9 * range) at = 0;
        return Tick{at, tickText(toNumber(toText(at, 4)).value_or(at), text)};
    };
    double widest = 0;
    for (const std::size_t i : {std::size_t{0}, std::size_t{1}, limits / 3, limits - 1}) {
        widest = std::max(widest, textWidth(tickAt(i).label, kChartFont) + kGap);
    }
    std::size_t every = 1;
    for (int i = 0;
         every < limits && ChartPanel::kWidth * width / range * static_cast<double>(every) < widest;
         ++i) {
        every = every * (i % 3 == 1 ? 5 : 4) / 2;  // 1, 2, 5, 10, 20, 50, ...
    }
    std::vector<Tick> ticks;
    for (std::size_t i = 0; i < limits; i += every)
        ticks.push_back(tickAt(i));
    return ticks;
}

}  // namespace

bool drawsLevels(const Series& series, const ChartStyle& style) {
    return style.decibels && series.quantity.hasLevel;
}

double drawnHeight(double y, const Series& series, const ChartStyle& style) {
    if (!drawsLevels(series, style)) return y;
    return series.quantity.level(y, style.reference);
}

std::string heightUnit(const Series& series, const ChartStyle& style, Letters letters) {
    if (!drawsLevels(series, style)) return series.quantity.unitText(letters);
    return series.quantity.levelText(style.reference, letters);
}

std::string svgChart(const std::vector<Series>& series, const ChartStyle& style) {
    constexpr double kTop = 46;
    constexpr double kBottom = 54;
    constexpr double kGap = 20;  // between panels
    constexpr double kTitleFont = 16;
    std::vector<ChartPanel> panels = panelsOf(series, style);
    const double height = panels.size() == 1 ? 320 : panels.size() == 2 ? 200 : 150;
    double top = kTop;
    double legend = 0;
    for (ChartPanel& panel : panels) {
        panel.top = top;
        panel.height = height;
        panel.hasLegend = series.size() > 1 || panel.curves.front().range;
        top += height + kGap;
        legend = std::max(legend, panel.legendWidth());
    }
    const double bottom = top - kGap;
    const double sheetWidth = ChartPanel::kLeft + ChartPanel::kWidth + ChartPanel::kRight + legend;
    const double sheetHeight = bottom + kBottom;

    const Series& first = series.front();
    const auto isBand = [](const Series& one) { return one.bandEdge > 0; };
    const auto isClass = [](const Series& one) { return one.classWidth > 0 && !one.x.empty(); };
    const bool overBands = std::ranges::any_of(series, isBand);
    const auto classes = std::ranges::find_if(series, isClass);
    const ChartAxis xAxis = xAxisOf(panels, style.logX || overBands);
    const TickText xText{style.decimal, first.xUnit == "Hz"};
    const std::vector<Tick> ticks = overBands                 ? bandTicks(series, xAxis, xText)
                                    : classes != series.end() ? classTicks(*classes, xAxis, xText)
                                                              : xAxis.ticks(xText);
    const bool hasGrid = !overBands && classes == series.end();

    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " +
                      pixel(sheetWidth) + " " + pixel(sheetHeight) + "\" width=\"" +
                      pixel(sheetWidth) + "\" height=\"" + pixel(sheetHeight) +
                      "\" font-family=\"sans-serif\" font-size=\"" + pixel(kChartFont) +
                      "\" fill=\"#222\">\n"
                      "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    const double room = sheetWidth - ChartPanel::kLeft - ChartPanel::kRight;
    const double wanted = textWidth(style.title, kTitleFont);
    const double titleFont =
        wanted > room ? std::max(10.0, kTitleFont * room / wanted) : kTitleFont;
    svg += svgText(ChartPanel::kLeft, 27, "start", style.title,
                   " font-size=\"" + pixel(titleFont) + "\" font-weight=\"600\"");
    for (const Tick& tick : ticks) {
        if (tick.label.empty()) continue;
        svg += svgText(ChartPanel::xPixel(xAxis, tick.at), bottom + 19, "middle", tick.label);
    }
    const std::string power = hasGrid ? powerOfTen(xAxis.exponent(xText)) : "";
    const std::string unit =
        power.empty() || first.xUnit.empty() ? power + first.xUnit : power + " " + first.xUnit;
    svg += svgText(ChartPanel::kLeft + ChartPanel::kWidth / 2, sheetHeight - 12, "middle",
                   withUnit(classes != series.end() ? "class limits" : first.xName, unit));
    for (std::size_t i = 0; i < panels.size(); ++i) {
        svg += panels[i].draw(xAxis, ticks, hasGrid, {style.decimal}, i);
    }
    return svg + "</svg>\n";
}

}  // namespace vynhost
