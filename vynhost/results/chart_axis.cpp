#include "vynhost/results/chart_axis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

constexpr double kLargest = 1.79e308;  // a tick beyond it still is a number
constexpr double kSmallest = 1e-290;   // the parts of it are numbers, too

// "200", "2k", "2·10⁻⁷".
std::string decadeText(int part, int decade, const TickText& style) {
    constexpr int kMostZeros = 4;
    if (std::abs(decade) <= kMostZeros) return tickText(part * std::pow(10, decade), style);
    return (part == 1 ? "" : std::to_string(part) + "·") + powerOfTen(decade);
}

}  // namespace

std::string tickText(double value, const TickText& style) {
    constexpr int kDigits = 6;
    const bool kilo = style.kilo && std::abs(value) >= 1000;
    std::string text = toText(kilo ? value / 1000 : value, kDigits);
    std::ranges::replace(text, '.', style.decimal);
    if (text.starts_with('-')) text.replace(0, 1, "−");
    return kilo ? text + "k" : text;
}

std::string powerOfTen(int exponent) {
    if (exponent == 0) return "";
    constexpr std::array<const char*, 10> kDigits = {"⁰", "¹", "²", "³", "⁴",
                                                     "⁵", "⁶", "⁷", "⁸", "⁹"};
    std::string text = exponent < 0 ? "10⁻" : "10";
    for (const char c : std::to_string(std::abs(exponent)))
        text += kDigits[static_cast<std::size_t>(c - '0')];
    return text;
}

ChartAxis::ChartAxis(double low, double high, bool log, int wantedTicks)
    : log_(log), low_(std::max(low, -kLargest)), high_(std::min(high, kLargest)) {
    if (isPoint()) widenPoint();
    step_ = log_ ? 0 : roundStep(wantedTicks);
}

ChartAxis ChartAxis::linear(double low, double high, int wantedTicks) {
    return {low, high, false, wantedTicks};
}

ChartAxis ChartAxis::logarithmic(double low, double high) { return {low, high, true, 0}; }

ChartAxis ChartAxis::turn(int wantedTicks) {
    ChartAxis axis = linear(-180, 180, wantedTicks);
    axis.step_ = wantedTicks < 8 ? 90 : 45;
    return axis;
}

// Its ends lie too close for ticks between them.
bool ChartAxis::isPoint() const {
    constexpr double kSmallestPart = 1e-12;
    const double size = std::abs(low_) / 2 + std::abs(high_) / 2;
    return !(halfWidth() > kSmallestPart * size) || (!log_ && halfWidth() < kSmallest);
}

void ChartAxis::widenPoint() {
    if (log_) {
        low_ = std::max(low_ / 2, std::numeric_limits<double>::denorm_min());
        high_ = std::min(std::max(low_ * 2, high_ * 1.5), kLargest);
        return;
    }
    const double size = std::max(std::abs(low_), std::abs(high_));
    const double half = size < kSmallest ? 1 : size / 2;
    low_ = std::max(low_ - half, -kLargest);
    high_ = std::min(high_ + half, kLargest);
}

// The difference of both ends may be no number.
double ChartAxis::halfWidth() const { return high_ / 2 - low_ / 2; }

double ChartAxis::place(double value) const {
    if (log_) return (std::log(value) - std::log(low_)) / (std::log(high_) - std::log(low_));
    return (value / 2 - low_ / 2) / halfWidth();
}

// 1, 2 or 5 of a power of ten.
double ChartAxis::roundStep(int wantedTicks) const {
    const double rough = halfWidth() / (wantedTicks / 2.0);
    const double decade = std::pow(10, std::floor(std::log10(rough)));
    for (const double part : {1.0, 2.0, 5.0}) {
        if (rough <= decade * part) return decade * part;
    }
    return decade * 10;
}

void ChartAxis::widenToTicks() {
    if (log_) return;
    low_ = std::max(std::min(low_, std::floor(low_ / step_) * step_), -kLargest);
    high_ = std::min(std::max(high_, std::ceil(high_ / step_) * step_), kLargest);
}

int ChartAxis::exponent(const TickText& style) const {
    constexpr double kSmall = 0.02;
    constexpr double kLarge = 1e5;
    constexpr int kMost = 300;  // whose powers of ten are numbers
    const double most = std::max(std::abs(low_), std::abs(high_));
    if (log_ || style.kilo || (most >= kSmall && most < kLarge)) return 0;
    return std::clamp(3 * static_cast<int>(std::floor(std::log10(most) / 3)), -kMost, kMost);
}

std::vector<Tick> ChartAxis::ticks(const TickText& style) const {
    if (log_) return decades(style);
    constexpr int kMostTicks = 100;
    const double scale = std::pow(10, exponent(style));
    const double slack = step_ * 1e-6;
    const double first = std::ceil((low_ - slack) / step_);
    std::vector<Tick> ticks;
    for (int i = 0; i < kMostTicks && (first + i) * step_ <= high_ + slack; ++i) {
        const double at = (first + i) * step_ + 0.0;  // never -0
        ticks.push_back({at, tickText(at / scale, style)});
    }
    return ticks;
}

std::vector<Tick> ChartAxis::decades(const TickText& style) const {
    constexpr int kMostWithNamedParts = 4;
    constexpr int kMostWithParts = 8;
    constexpr int kMost = 16;
    const int first = static_cast<int>(std::floor(std::log10(low_)));
    const int last = static_cast<int>(std::floor(std::log10(high_)));
    const int every = 1 + (last - first) / kMost;
    std::vector<Tick> ticks;
    for (int decade = first; decade <= last; decade += every) {
        const int parts = last - first > kMostWithParts ? 1 : 9;
        for (int part = 1; part <= parts; ++part) {
            const double at = part * std::pow(10, decade);
            if (at < low_ * 0.999 || at > high_ * 1.001) continue;
            const bool named =
                part == 1 || ((part == 2 || part == 5) && last - first <= kMostWithNamedParts);
            ticks.push_back({at, named ? decadeText(part, decade, style) : ""});
        }
    }
    const auto isNamed = [](const Tick& tick) { return !tick.label.empty(); };
    if (std::ranges::count_if(ticks, isNamed) < 2) {  // less than a step from 1 to 2 to 5
        for (Tick& tick : ticks)
            tick.label = tickText(tick.at, style);
    }
    return ticks;
}

}  // namespace vynhost
