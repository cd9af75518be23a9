#include "vynhost/results/chart_panel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace vynhost {
namespace {

// dB below the highest that are drawn; a bar that stands lower would look as if there were none.
constexpr double kLowestLevel = 120;
constexpr double kLowestBar = 200;
constexpr std::size_t kMostBars = 4;  // beside each other; more are drawn as steps

constexpr std::size_t kMostLegendLetters = 40;
constexpr double kLegendRow = 19;
constexpr double kLegendSample = 22;  // of the curve's line

// Told apart in print and by colour-blind eyes.
constexpr std::array<const char*, 7> kColours = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                 "#e69f00", "#56b4e9", "#555555"};
constexpr const char* kGrid = "#dddddd";
constexpr const char* kFineGrid = "#f0f0f0";
constexpr const char* kFrame = "#555555";
constexpr const char* kRangeFill = " fill-opacity=\"0.25\"";

std::string colourOf(const ChartCurve& curve) { return kColours[curve.number % kColours.size()]; }

// There is a value, at a place that the axis can show.
bool canDraw(const ChartCurve::Value& value, const ChartAxis& xAxis) {
    return std::isfinite(value.high) && std::isfinite(xAxis.place(value.from)) &&
           std::isfinite(xAxis.place(value.to));
}

// The level of nothing lies at the foot of the panel.
ChartCurve::Value onSheet(ChartCurve::Value value, const ChartAxis& axis) {
    constexpr double kBottomless = -std::numeric_limits<double>::infinity();
    if (value.high == kBottomless) value.high = axis.low();
    if (value.low == kBottomless) value.low = axis.low();
    return value;
}

// At most four points per pixel column (first, lowest, highest, last), so that no peak is lost and
// long signals stay small.
std::vector<Point> thinned(const std::vector<Point>& pixels) {
    std::vector<Point> kept;
    std::size_t begin = 0;
    while (begin < pixels.size()) {
        std::size_t end = begin + 1;
        while (end < pixels.size() && std::floor(pixels[end].x) == std::floor(pixels[begin].x)) {
            ++end;
        }
        const auto first = pixels.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto last = pixels.begin() + static_cast<std::ptrdiff_t>(end);
        const auto [low, high] = std::minmax_element(
            first, last, [](const Point& a, const Point& b) { return a.y < b.y; });
        std::array<std::vector<Point>::const_iterator, 4> chosen = {first, low, high, last - 1};
        std::sort(chosen.begin(), chosen.end());
        const auto chosenEnd = std::unique(chosen.begin(), chosen.end());
        for (auto point = chosen.begin(); point != chosenEnd; ++point)
            kept.push_back(**point);
        begin = end;
    }
    return kept;
}

// One point per pixel column, the highest on the sheet or the lowest.
std::vector<Point> edgeOf(const std::vector<Point>& pixels, bool upper) {
    std::vector<Point> edge;
    for (const Point& point : pixels) {
        if (edge.empty() || std::floor(edge.back().x) != std::floor(point.x)) {
            edge.push_back(point);
        } else if (upper ? point.y < edge.back().y : point.y > edge.back().y) {
            edge.back().y = point.y;
        }
    }
    return edge;
}

// The first so many letters (not bytes) of a name, and a mark where some are missing.
std::string shortName(const std::string& name) {
    std::size_t letters = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if ((name[i] & 0xC0) == 0x80) continue;
        if (++letters > kMostLegendLetters) return name.substr(0, i) + "…";
    }
    return name;
}

}  // namespace

double exactCentre(double nominal) {
    return std::pow(10.0, std::round(10 * std::log10(nominal)) / 10);
}

// --- Axis and frame -------------------------------------------------------------------------

ChartAxis ChartPanel::yAxis() const {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kPixelsPerTick = 36;
    double low = kInfinity;
    double high = -kInfinity;
    for (const ChartCurve& curve : curves) {
        for (const ChartCurve::Value& value : curve.values) {
            for (const double y : {value.low, value.high}) {
                if (!std::isfinite(y)) continue;
                low = std::min(low, y);
                high = std::max(high, y);
            }
        }
    }
    if (!(low <= high)) low = 0, high = 1;
    const int wantedTicks = static_cast<int>(height / kPixelsPerTick);
    if (unit == "°" && low >= -180 && high <= 180) return ChartAxis::turn(wantedTicks);
    if (fromBelow) low = std::max(low, high - (drawsBars() ? kLowestBar : kLowestLevel));
    if (drawsBars() && fromBelow) {
        low -= 0.02 * (high - low);  // the lowest bar is to be seen
    } else if (drawsBars()) {
        low = std::min(low, 0.0);
        high = std::max(high, 0.0);
    }
    ChartAxis axis = ChartAxis::linear(low, high, wantedTicks);
    axis.widenToTicks();
    return axis;
}

double ChartPanel::yPixel(const ChartAxis& axis, double y) const {
    return top + height * (1 - axis.place(y));
}

bool ChartPanel::drawsBars() const {
    constexpr std::size_t kMostPlaces = 400;  // of which each still has its two pixels
    return curves.size() <= kMostBars && std::ranges::any_of(curves, &ChartCurve::bars) &&
           std::ranges::none_of(curves, [](const ChartCurve& curve) {
               return curve.bars && curve.values.size() > kMostPlaces;
           });
}

std::string ChartPanel::draw(const ChartAxis& xAxis, const std::vector<Tick>& xTicks, bool xGrid,
                             const TickText& text, std::size_t number) const {
    const ChartAxis axis = yAxis();
    std::string svg = drawFrame(xAxis, xTicks, xGrid, axis, text);
    const std::string clip = "p" + std::to_string(number);
    svg += "<clipPath id=\"" + clip + "\">" + svgRectangle({kLeft, top}, kWidth, height, "none") +
           "</clipPath>\n<g clip-path=\"url(#" + clip + ")\">\n";
    std::size_t place = 0;
    for (const ChartCurve& curve : curves) {
        if (curve.bars && drawsBars()) {
            svg += drawBars(curve, place++, xAxis, axis);
        } else if (curve.range) {
            svg += drawRange(curve, xAxis, axis);
        } else {
            svg += drawLine(curve, xAxis, axis);
        }
    }
    return svg + "</g>\n" + drawLegend();
}

std::string ChartPanel::drawFrame(const ChartAxis& xAxis, const std::vector<Tick>& xTicks,
                                  bool xGrid, const ChartAxis& axis, const TickText& text) const {
    constexpr double kTickLength = 5;
    const double bottom = top + height;
    const double right = kLeft + kWidth;
    std::string svg;
    for (const bool named : {false, true}) {  // the finer lines lie below
        for (const Tick& tick : xTicks) {
            if (tick.label.empty() == named) continue;
            const double x = xPixel(xAxis, tick.at);
            svg += xGrid ? svgLine({x, top}, {x, bottom}, named ? kGrid : kFineGrid)
                         : svgLine({x, bottom}, {x, bottom + kTickLength}, kFrame);
        }
    }
    for (const Tick& tick : axis.ticks(text)) {
        const double y = yPixel(axis, tick.at);
        svg += svgLine({kLeft, y}, {right, y}, kGrid);
        svg += svgText(kLeft - 8, y + 4.5, "end", tick.label);
    }
    svg += svgLine({kLeft, top}, {kLeft, bottom}, kFrame);
    svg += svgLine({kLeft, bottom}, {right, bottom}, kFrame);
    const std::string power = powerOfTen(axis.exponent(text));
    const std::string title = power.empty() || unit.empty() ? power + unit : power + " " + unit;
    const double wanted = textWidth(title, kChartFont);
    const double font = wanted > height ? std::max(9.0, kChartFont * height / wanted) : kChartFont;
    const double middle = top + height / 2;
    svg += svgText(
        18, middle, "middle", title,
        " transform=\"rotate(-90 18 " + pixel(middle) + ")\" font-size=\"" + pixel(font) + "\"");
    return svg;
}

// --- Curves ---------------------------------------------------------------------------------

// Beside each other within nine tenths of what they stand for.
std::string ChartPanel::drawBars(const ChartCurve& curve, std::size_t place, const ChartAxis& xAxis,
                                 const ChartAxis& axis) const {
    constexpr double kFilled = 0.9;
    const auto count = static_cast<double>(std::ranges::count(curves, true, &ChartCurve::bars));
    const double foot = fromBelow ? axis.low() : 0;
    std::string svg;
    for (const ChartCurve::Value& value : curve.values) {
        if (!canDraw(value, xAxis)) continue;
        const double from = xPixel(xAxis, value.from);
        const double whole = xPixel(xAxis, value.to) - from;
        const double width = whole * kFilled / count;
        const double left = from + whole * (1 - kFilled) / 2 + width * static_cast<double>(place);
        const double low = curve.range && std::isfinite(value.low) ? value.low : foot;
        const double upper = yPixel(axis, std::max(value.high, low));
        const double lower = yPixel(axis, std::min(value.high, low));
        const std::string colour = colourOf(curve);
        svg +=
            svgRectangle({left, upper}, width, lower - upper, colour,
                         curve.range ? std::string(kRangeFill) + " stroke=\"" + colour + "\"" : "");
    }
    return svg;
}

std::string ChartPanel::drawRange(const ChartCurve& curve, const ChartAxis& xAxis,
                                  const ChartAxis& axis) const {
    std::string svg;
    std::vector<Point> highs;
    std::vector<Point> lows;
    const auto finish = [&] {
        if (highs.empty()) return;
        const std::vector<Point> upper = edgeOf(highs, true);
        const std::vector<Point> lower = edgeOf(lows, false);
        std::vector<Point> around = upper;
        around.insert(around.end(), lower.rbegin(), lower.rend());
        svg += svgPolygon(around, colourOf(curve), kRangeFill);
        svg += svgPolyline(upper, colourOf(curve)) + svgPolyline(lower, colourOf(curve));
        highs.clear();
        lows.clear();
    };
    for (const ChartCurve::Value& each : curve.values) {
        const ChartCurve::Value value = onSheet(each, axis);
        if (!canDraw(value, xAxis)) {
            finish();
            continue;
        }
        for (const double x : {value.from, value.to}) {
            highs.push_back({xPixel(xAxis, x), yPixel(axis, value.high)});
            lows.push_back({xPixel(xAxis, x), yPixel(axis, value.low)});
            if (!curve.bars) break;
        }
    }
    finish();
    return svg;
}

std::string ChartPanel::drawLine(const ChartCurve& curve, const ChartAxis& xAxis,
                                 const ChartAxis& axis) const {
    std::string svg;
    std::vector<Point> points;
    const auto finish = [&] {
        if (!points.empty()) svg += svgPolyline(thinned(points), colourOf(curve));
        points.clear();
    };
    for (const ChartCurve::Value& each : curve.values) {
        const ChartCurve::Value value = onSheet(each, axis);
        if (!canDraw(value, xAxis)) {
            finish();
            continue;
        }
        points.push_back({xPixel(xAxis, value.from), yPixel(axis, value.high)});
        if (curve.bars) points.push_back({xPixel(xAxis, value.to), points.back().y});
    }
    finish();
    return svg;
}

// --- Legend ---------------------------------------------------------------------------------

// A row per curve; where they are too many, the last row tells how many more there are.
std::vector<std::string> ChartPanel::legendRows() const {
    std::vector<std::string> rows;
    if (!hasLegend) return rows;
    const auto most = static_cast<std::size_t>((height - 8) / kLegendRow) + 1;
    for (const ChartCurve& curve : curves) {
        if (rows.size() + 1 == most && curves.size() > most) {
            rows.push_back("and " + std::to_string(curves.size() - rows.size()) + " more");
            break;
        }
        rows.push_back(shortName(curve.name));
    }
    return rows;
}

double ChartPanel::legendWidth() const {
    double widest = 0;
    for (const std::string& row : legendRows())
        widest = std::max(widest, textWidth(row, kChartFont));
    return widest == 0 ? 0 : kLegendSample + 8 + widest + kRight / 2;
}

std::string ChartPanel::drawLegend() const {
    const std::vector<std::string> rows = legendRows();
    const double x = kLeft + kWidth + kRight;
    std::string svg;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double y = top + 8 + kLegendRow * static_cast<double>(i);
        if (i + 1 < rows.size() || rows.size() == curves.size()) {
            const ChartCurve& curve = curves[i];
            const std::string colour = colourOf(curve);
            if (curve.range) {
                svg += svgRectangle({x, y - 6}, kLegendSample, 12, colour,
                                    std::string(kRangeFill) + " stroke=\"" + colour + "\"");
            } else if (curve.bars && drawsBars()) {
                svg += svgRectangle({x + 5, y - 6}, 12, 12, colour);
            } else {
                svg += svgLine({x, y}, {x + kLegendSample, y}, colour, " stroke-width=\"2\"");
            }
        }
        svg += svgText(x + kLegendSample + 8, y + 4.5, "start", rows[i]);
    }
    return svg;
}

}  // namespace vynhost
