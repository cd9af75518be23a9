// One axis of a chart: its range, and where which numbers stand.
#pragma once

#include <string>
#include <vector>

namespace vynhost {

// How numbers are written beside an axis.
struct TickText {
    char decimal = '.';
    bool kilo = false;  // 1k for 1000, as frequencies are called
};

// With a real minus sign.
std::string tickText(double value, const TickText& style);
// "10⁻⁶"; nothing for 0.
std::string powerOfTen(int exponent);

struct Tick {
    double at;
    std::string label;  // empty: a line alone
};

// Any two finite numbers are a range; where they lie too close for ticks it is widened.
class ChartAxis {
public:
    static ChartAxis linear(double low, double high, int wantedTicks);
    // Of numbers above 0.
    static ChartAxis logarithmic(double low, double high);
    // A whole turn of phases, with ticks at parts of it.
    static ChartAxis turn(int wantedTicks);

    // Out to the next ticks, if it is linear.
    void widenToTicks();
    // 0 at the low end, 1 at the high one.
    double place(double value) const;
    double low() const { return low_; }
    double high() const { return high_; }

    // Numbers that would be written with many zeros are so many powers of ten smaller or larger.
    int exponent(const TickText& style) const;
    std::vector<Tick> ticks(const TickText& style) const;

private:
    ChartAxis(double low, double high, bool log, int wantedTicks);
    bool isPoint() const;
    void widenPoint();
    double halfWidth() const;
    double roundStep(int wantedTicks) const;
    std::vector<Tick> decades(const TickText& style) const;

    bool log_;
    double low_;
    double high_;
    double step_;
};

}  // namespace vynhost
