#include "vynhost/results/svg_chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

// The sheet, in pixels.
constexpr double kWidth = 900;
constexpr double kHeight = 420;
constexpr double kLeft = 78;
constexpr double kRight = 24;
constexpr double kTop = 46;
constexpr double kBottom = 54;
constexpr double kPlotWidth = kWidth - kLeft - kRight;
constexpr double kPlotHeight = kHeight - kTop - kBottom;

// The legend stands beside the plot, on a sheet that is so much wider.
constexpr std::size_t kMostLegendRows = 17;
constexpr std::size_t kMostLegendLetters = 40;
constexpr double kLegendRow = 19;
constexpr double kLegendSample = 22;   // of the curve's line
constexpr double kLegendLetter = 7.6;  // wider than nearly all are
constexpr double kLowestLevel = 120;   // dB below the highest that is drawn

// Told apart in print and by colour-blind eyes.
constexpr std::array<const char*, 7> kColours = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                 "#e69f00", "#56b4e9", "#555555"};

constexpr const char* kGrid = "#dddddd";
constexpr const char* kFrame = "#555555";

// XML has no control characters but tab and line ends, not even escaped: each becomes the sign that
// stands for it. Neither has it the last two numbers of Unicode's first plane.
std::string escaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t size = characterSize(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(size, 1));
        const char c = character.front();
        text.remove_prefix(character.size());
        if (size == 0 || character == "\uFFFE" || character == "\uFFFF") {
            result += "\uFFFD";
        } else if (c >= 0 && c < ' ' && c != '\t' && c != '\n' && c != '\r') {
            result += "\xE2\x90";  // U+2400 and what follows
            result += static_cast<char>(0x80 + c);
        } else if (c == '&') {
            result += "&amp;";
        } else if (c == '<') {
            result += "&lt;";
        } else if (c == '>') {
            result += "&gt;";
        } else {
            result += character;
        }
    }
    return result;
}

std::string pixel(double position) { return toText(std::round(position * 10) / 10); }

// The range of one axis and where its ticks stand. Any two finite numbers are a range.
class Axis {
public:
    Axis(double low, double high, bool log)
        : log_(log), low_(std::max(low, -kLargest)), high_(std::min(high, kLargest)) {
        if (log_) {
            if (isPoint()) widenLogPoint();
            setDecades();
        } else {
            if (isPoint()) widenPoint();
            setRoundSteps();
        }
    }

    // 0 at the low end, 1 at the high one.
    double place(double value) const {
        if (log_) return (std::log(value) - std::log(low_)) / (std::log(high_) - std::log(low_));
        return (value / 2 - low_ / 2) / halfWidth();
    }
    void widenToTicks() {
        low_ = std::max(std::min(low_, std::floor(low_ / step_) * step_), -kLargest);
        high_ = std::min(std::max(high_, std::ceil(high_ / step_) * step_), kLargest);
        setRoundSteps();
    }
    const std::vector<double>& ticks() const { return ticks_; }

private:
    static constexpr double kLargest = 1.79e308;  // a tick beyond it still is a number

    // Of numbers that lie too close for ticks between them.
    bool isPoint() const {
        constexpr double kSmallestPart = 1e-12;
        constexpr double kSmallest = 1e-290;  // whose parts are numbers, too
        const double size = std::abs(low_) / 2 + std::abs(high_) / 2;
        return !(halfWidth() > kSmallestPart * size) || (!log_ && halfWidth() < kSmallest);
    }
    void widenPoint() {
        const double size = std::max(std::abs(low_), std::abs(high_));
        const double half = size < 1e-290 ? 1 : size / 2;
        low_ = std::max(low_ - half, -kLargest);
        high_ = std::min(high_ + half, kLargest);
    }
    void widenLogPoint() {
        low_ = std::max(low_ / 2, std::numeric_limits<double>::denorm_min());
        high_ = std::min(std::max(low_ * 2, high_ * 1.5), kLargest);
    }
    // Of which both ends together may be no number.
    double halfWidth() const { return high_ / 2 - low_ / 2; }

    void setDecades() {
        constexpr int kMostDecadesInParts = 8;
        constexpr int kMostDecades = 16;
        const int first = static_cast<int>(std::floor(std::log10(low_)));
        const int last = static_cast<int>(std::floor(std::log10(high_)));
        const int every = 1 + (last - first) / kMostDecades;
        for (int decade = first; decade <= last; decade += every) {
            for (const double part : {1.0, 2.0, 5.0}) {
                if (part > 1 && last - first > kMostDecadesInParts) continue;
                const double tick = part * std::pow(10, decade);
                if (tick >= low_ * 0.999 && tick <= high_ * 1.001) ticks_.push_back(tick);
            }
        }
    }
    void setRoundSteps() {
        constexpr double kWantedTicks = 9;
        constexpr int kMostTicks = 100;
        const double rough = halfWidth() / (kWantedTicks / 2);
        const double decade = std::pow(10, std::floor(std::log10(rough)));
        step_ = decade * 10;
        for (const double part : {1.0, 2.0, 5.0}) {
            if (rough <= decade * part) {
                step_ = decade * part;
                break;
            }
        }
        ticks_.clear();
        const double slack = step_ * 1e-6;
        const double first = std::ceil((low_ - slack) / step_);
        for (int i = 0; i < kMostTicks && (first + i) * step_ <= high_ + slack; ++i) {
            ticks_.push_back((first + i) * step_ + 0.0);  // never -0
        }
    }

    bool log_;
    double low_;
    double high_;
    double step_ = 1;
    std::vector<double> ticks_;
};

struct Point {
    double x;
    double y;
};

// What is drawn of a curve: levels where asked for, nothing that is no number, nothing that a
// logarithmic axis cannot show.
std::vector<Point> pointsOf(const Series& series, const ChartStyle& style) {
    std::vector<Point> points;
    for (std::size_t i = 0; i < series.x.size(); ++i) {
        const double y = drawnHeight(series.y[i], series, style);
        if (!std::isfinite(y) || !std::isfinite(series.x[i])) continue;
        if (style.logX && !(series.x[i] > 0)) continue;
        if (series.bandEdge > 0) {  // as wide as the band is
            points.push_back({series.x[i] / series.bandEdge, y});
            points.push_back({series.x[i] * series.bandEdge, y});
        } else {
            points.push_back({series.x[i], y});
        }
    }
    return points;
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

std::string yTitle(const std::vector<Series>& series, const ChartStyle& style) {
    return heightUnit(series.front(), style, Letters::print);
}

std::string label(double x, double y, const char* anchor, const std::string& text,
                  const char* more = "") {
    return "<text x=\"" + pixel(x) + "\" y=\"" + pixel(y) + "\" text-anchor=\"" + anchor + "\"" +
           more + ">" + escaped(text) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const char* colour) {
    return "<line x1=\"" + pixel(x1) + "\" y1=\"" + pixel(y1) + "\" x2=\"" + pixel(x2) +
           "\" y2=\"" + pixel(y2) + "\" stroke=\"" + colour + "\"/>\n";
}

}  // namespace

namespace {

// The first so many letters (not bytes) of a name, and a mark where some are missing.
std::string shortened(const std::string& name) {
    std::size_t letters = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if ((name[i] & 0xC0) == 0x80) continue;
        if (++letters > kMostLegendLetters) return name.substr(0, i) + "…";
    }
    return name;
}

// A row per curve; where they are too many, the last row tells how many more there are. A single
// curve needs none.
std::vector<std::string> legendOf(const std::vector<Series>& series) {
    std::vector<std::string> rows;
    if (series.size() < 2) return rows;
    for (const Series& one : series) {
        if (rows.size() + 1 == kMostLegendRows && series.size() > kMostLegendRows) {
            rows.push_back("and " + std::to_string(series.size() - rows.size()) + " more");
            break;
        }
        rows.push_back(shortened(one.name));
    }
    return rows;
}

double widthOf(const std::vector<std::string>& legend) {
    std::size_t longest = 0;
    for (const std::string& row : legend) {
        const auto letters = std::ranges::count_if(row, [](char c) { return (c & 0xC0) != 0x80; });
        longest = std::max(longest, static_cast<std::size_t>(letters));
    }
    if (longest == 0) return 0;
    return kLegendSample + 8 + std::ceil(kLegendLetter * static_cast<double>(longest)) + kRight / 2;
}

}  // namespace

double drawnHeight(double y, const Series& series, const ChartStyle& style) {
    if (!style.decibels || !series.quantity.hasLevel) return y;
    return series.quantity.level(y, style.reference);
}

std::string heightUnit(const Series& series, const ChartStyle& style, Letters letters) {
    if (!style.decibels || !series.quantity.hasLevel) return series.quantity.unitText(letters);
    return series.quantity.levelText(style.reference, letters);
}

std::string svgChart(const std::vector<Series>& series, const ChartStyle& style) {
    std::vector<std::vector<Point>> curves;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Point low{kInfinity, kInfinity};
    Point high{-kInfinity, -kInfinity};
    for (const Series& one : series) {
        curves.push_back(pointsOf(one, style));
        for (const Point& point : curves.back()) {
            low = {std::min(low.x, point.x), std::min(low.y, point.y)};
            high = {std::max(high.x, point.x), std::max(high.y, point.y)};
        }
    }
    if (!(low.x <= high.x)) low = {style.logX ? 1.0 : 0.0, 0}, high = {10, 1};
    if (style.decibels) low.y = std::max(low.y, high.y - kLowestLevel);
    const Axis xAxis(low.x, high.x, style.logX);
    Axis yAxis(low.y, high.y, false);
    yAxis.widenToTicks();
    const auto xPixel = [&](double x) { return kLeft + kPlotWidth * xAxis.place(x); };
    const auto yPixel = [&](double y) { return kTop + kPlotHeight * (1 - yAxis.place(y)); };

    const std::vector<std::string> legend = legendOf(series);
    const double width = kWidth + widthOf(legend);
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + toText(width) +
                      " " + toText(kHeight) + "\" width=\"" + toText(width) + "\" height=\"" +
                      toText(kHeight) +
                      "\" font-family=\"sans-serif\" font-size=\"13\" fill=\"#222\">\n"
                      "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    svg += label(kLeft, 27, "start", style.title, " font-size=\"16\" font-weight=\"600\"");
    const double bottom = kTop + kPlotHeight;
    const double right = kLeft + kPlotWidth;
    for (const double tick : xAxis.ticks()) {
        svg += line(xPixel(tick), kTop, xPixel(tick), bottom, kGrid);
        svg += label(xPixel(tick), bottom + 19, "middle", toText(tick, 6));
    }
    for (const double tick : yAxis.ticks()) {
        svg += line(kLeft, yPixel(tick), right, yPixel(tick), kGrid);
        svg += label(kLeft - 8, yPixel(tick) + 4.5, "end", toText(tick, 6));
    }
    svg += line(kLeft, kTop, kLeft, bottom, kFrame) + line(kLeft, bottom, right, bottom, kFrame);
    std::string xTitle = series.front().xName;
    if (!series.front().xUnit.empty()) xTitle += " [" + series.front().xUnit + "]";
    svg += label(kLeft + kPlotWidth / 2, kHeight - 12, "middle", xTitle);
    svg += label(18, kTop + kPlotHeight / 2, "middle", yTitle(series, style),
                 (" transform=\"rotate(-90 18 " + pixel(kTop + kPlotHeight / 2) + ")\"").c_str());

    svg += "<clipPath id=\"p\"><rect x=\"" + pixel(kLeft) + "\" y=\"" + pixel(kTop) +
           "\" width=\"" + pixel(kPlotWidth) + "\" height=\"" + pixel(kPlotHeight) +
           "\"/></clipPath>\n<g clip-path=\"url(#p)\">\n";
    for (std::size_t i = 0; i < curves.size(); ++i) {
        std::vector<Point> pixels;
        for (const Point& point : curves[i])
            pixels.push_back({xPixel(point.x), yPixel(point.y)});
        std::string points;
        for (const Point& point : thinned(pixels)) {
            points += (points.empty() ? "" : " ") + pixel(point.x) + "," + pixel(point.y);
        }
        svg += "<polyline fill=\"none\" stroke-width=\"1.3\" stroke=\"" +
               std::string(kColours[i % kColours.size()]) + "\" points=\"" + points + "\"/>\n";
    }
    svg += "</g>\n";
    for (std::size_t i = 0; i < legend.size(); ++i) {
        const double y = kTop + 8 + kLegendRow * static_cast<double>(i);
        const double x = right + kRight;
        if (i + 1 < legend.size() || legend.size() == series.size()) {
            svg += "<line x1=\"" + pixel(x) + "\" y1=\"" + pixel(y) + "\" x2=\"" +
                   pixel(x + kLegendSample) + "\" y2=\"" + pixel(y) +
                   "\" stroke-width=\"2\" stroke=\"" + kColours[i % kColours.size()] + "\"/>\n";
        }
        svg += label(x + kLegendSample + 8, y + 4.5, "start", legend[i]);
    }
    return svg + "</svg>\n";
}

}  // namespace vynhost
