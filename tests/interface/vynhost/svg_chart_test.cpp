// Pictures of curves.
#include "vynhost/results/svg_chart.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "vynhost/results/chart_axis.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

Series curve(const std::string& name) {
    Series series;
    series.name = name;
    series.x = {0, 1, 2};
    series.y = {0, 1, 0};
    return series;
}

double numberAfter(const std::string& svg, const std::string& mark) {
    const std::size_t at = svg.find(mark);
    return at == std::string::npos ? -1 : std::stod(svg.substr(at + mark.size()));
}

// Right edge of what a curve can cover.
double plotEnd(const std::string& svg) {
    const std::string clip = svg.substr(svg.find("<clipPath"));
    return numberAfter(clip, "<rect x=\"") + numberAfter(clip, " width=\"");
}

TEST(SvgChart, TheLegendStandsBesideThePlotAndOnTheSheet) {
    const std::string svg = svgChart({curve("a"), curve("level.A mean clock maximum")}, {"title"});
    const double sheet = numberAfter(svg, " width=\"");
    EXPECT_EQ(numberAfter(svg, "viewBox=\"0 0 "), sheet);
    const std::string afterCurves = svg.substr(svg.find("</g>"));
    int found = 0;
    for (const std::string mark : {"<line x1=\"", "<text x=\""}) {
        for (std::size_t at = afterCurves.find(mark); at != std::string::npos;
             at = afterCurves.find(mark, at + 1), ++found) {
            EXPECT_GT(std::stod(afterCurves.substr(at + mark.size())), plotEnd(svg));
        }
    }
    EXPECT_EQ(found, 4);  // a line and a name each
    EXPECT_GT(numberAfter(afterCurves, "<text x=\""), numberAfter(afterCurves, " x2=\""));
    // 26 letters, none of them wider than a letter is high.
    EXPECT_GT(sheet - plotEnd(svg), 26 * 13 / 2.0);
}

TEST(SvgChart, ASingleCurveNeedsNoLegend) {
    const std::string svg = svgChart({curve("alone")}, {"title"});
    EXPECT_THAT(svg, Not(HasSubstr("alone")));
    EXPECT_EQ(numberAfter(svg, " width=\""), 900);
}

TEST(SvgChart, ALongLegendSaysHowManyMoreThereAre) {
    std::vector<Series> series;
    for (int i = 1; i <= 17; ++i)
        series.push_back(curve("c" + std::to_string(i)));
    EXPECT_THAT(svgChart(series, {"t"}), HasSubstr(">c17<"));
    series.push_back(curve("c18"));
    EXPECT_THAT(svgChart(series, {"t"}), HasSubstr(">c16<"));
    EXPECT_THAT(svgChart(series, {"t"}), Not(HasSubstr(">c17<")));
    EXPECT_THAT(svgChart(series, {"t"}), HasSubstr(">and 2 more<"));
}

TEST(SvgChart, LongNamesAreCutBetweenLetters) {
    std::string name;
    for (int i = 0; i < 41; ++i)
        name += "ü";
    const std::string svg = svgChart({curve(name), curve("b")}, {"t"});
    EXPECT_THAT(svg, Not(HasSubstr(name)));
    EXPECT_THAT(svg, HasSubstr(name.substr(0, 80) + "…<"));
}

// The next step of 1, 2 and 5 above a tenth of the range.
TEST(ChartAxis, StepsAreOneTwoOrFiveOfADecade) {
    struct Row {
        double range;
        double step;
    };
    for (const Row row : {Row{9, 1},
                          {15, 2},
                          {19, 2},
                          {30, 5},
                          {49, 5},
                          {60, 10},
                          {99, 10},
                          {150, 20},
                          {0.0019, 0.0002},
                          {3e7, 5e6}}) {
        const auto ticks = ChartAxis::linear(0, row.range, 10).ticks({});
        ASSERT_GE(ticks.size(), 2U) << row.range;
        EXPECT_EQ(ticks[0].at, 0.0);
        EXPECT_NEAR(ticks[1].at, row.step, 1e-9 * row.step) << row.range;
    }
}

// Axes of any numbers are drawn at once, with few ticks, and nothing stands at a place that is
// none.
TEST(SvgChart, AnyNumbersAreDrawn) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kLargest = std::numeric_limits<double>::max();
    const std::vector<std::vector<double>> places = {{5e-324, 1, 2},
                                                     {1e17, 1e17 + 16, 1e17 + 32},
                                                     {1e15, 1e15 + 0.125, 1e15 + 0.25},
                                                     {0, kInfinity, kInfinity},
                                                     {std::nan(""), kInfinity, std::nan("")},
                                                     {-kLargest, 0, kLargest},
                                                     {5e-324, 5e-324, 5e-324},
                                                     {0, 5e-324, 1e-323},
                                                     {kLargest, kLargest, kLargest},
                                                     {5e-324, 1, kLargest}};
    for (const std::vector<double>& numbers : places) {
        for (const bool log : {false, true}) {
            for (const bool upright : {false, true}) {
                SCOPED_TRACE(std::to_string(numbers[0]) + ", " + std::to_string(numbers[2]));
                Series series = curve("a");
                (upright ? series.y : series.x) = numbers;
                const std::string svg = svgChart({series}, {.title = "t", .logX = log});
                EXPECT_THAT(svg, Not(HasSubstr("nan")));
                EXPECT_THAT(svg, Not(HasSubstr("inf")));
                EXPECT_LT(svg.size(), 20'000U);
            }
        }
    }
}

TEST(SvgChart, WhatCanBeDrawnOfUnendingNumbersIs) {
    Series series = curve("a");
    series.x = {1, 2, std::numeric_limits<double>::infinity()};
    EXPECT_THAT(svgChart({series}, {"t"}), HasSubstr("points=\"78,366 876,46\""));
}

TEST(SvgChart, OfManyDecadesSomeAreNamed) {
    Series series = curve("a");
    series.x = {5e-324, 1, 2};
    const std::string svg = svgChart({series}, {.title = "t", .logX = true});
    EXPECT_THAT(svg, HasSubstr(">10⁻³⁰³<"));
    EXPECT_THAT(svg, Not(HasSubstr(">10⁻³⁰²<")));
    series.x = {20, 200, 2000};
    EXPECT_THAT(svgChart({series}, {.title = "t", .logX = true}), HasSubstr(">500<"));
}

TEST(SvgChart, ControlCharactersBreakNoPicture) {
    const std::string svg = svgChart({curve("a")}, {"a\x01\x1b\v<\uFFFF\xFF\tb"});
    EXPECT_THAT(svg, HasSubstr(">a␁␛␋&lt;\uFFFD\uFFFD\tb<"));
}

// --- Units ----------------------------------------------------------------------------------

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

Series curveIn(const std::string& unit) {
    Series series = curve("in " + unit);
    series.quantity = signalQuantity(unit);
    return series;
}

TEST(SvgChart, CurvesOfOneUnitShareAPanelOthersHaveTheirOwn) {
    const std::string svg = svgChart({curveIn("Pa"), curveIn("V"), curveIn("Pa")}, {"t"});
    EXPECT_EQ(countOf(svg, "<clipPath"), 2U);
    EXPECT_THAT(svg, HasSubstr(">Pa<"));
    EXPECT_THAT(svg, HasSubstr(">V<"));
    const std::size_t second = svg.find("id=\"p1\"");
    EXPECT_EQ(countOf(svg.substr(0, second), "<polyline"), 2U);
    EXPECT_EQ(countOf(svg.substr(second), "<polyline"), 1U);
    EXPECT_EQ(countOf(svgChart({curveIn("Pa"), curveIn("Pa")}, {"t"}), "<clipPath"), 1U);
    // Levels over one reference, of amplitudes and powers, are of one unit.
    Series power = curveIn("Pa");
    power.quantity = power.quantity.power(2);
    EXPECT_EQ(countOf(svgChart({curveIn("Pa"), power}, {"t"}), "<clipPath"), 2U);
    EXPECT_EQ(
        countOf(svgChart({curveIn("Pa"), power}, {.title = "t", .decibels = true}), "<clipPath"),
        1U);
}

TEST(SvgChart, TheAxisSaysWhatLevelsAreRelativeTo) {
    ChartStyle style{.title = "t", .decibels = true, .reference = 2e-5};
    EXPECT_THAT(svgChart({curveIn("Pa")}, style), HasSubstr(">dB re 20 µPa<"));
    style.reference = 1;
    const std::string uncalibrated = svgChart({curveIn("")}, style);
    EXPECT_THAT(uncalibrated, HasSubstr(">dB re full scale, uncalibrated<"));
    EXPECT_THAT(uncalibrated, Not(HasSubstr("dB re 1")));
    style.decibels = false;
    EXPECT_THAT(svgChart({curveIn("")}, style), HasSubstr(">full scale = 1<"));
    Series density = curveIn("V");
    density.quantity = density.quantity.power(2);
    density.quantity.perHertz = true;
    EXPECT_THAT(svgChart({density}, style), HasSubstr(">V²/Hz<"));
    for (double& y : density.y)
        y *= 5e-5;
    const std::string small = svgChart({density}, style);
    EXPECT_THAT(small, HasSubstr(">10⁻⁶ V²/Hz<"));
    EXPECT_THAT(small, HasSubstr(">40<"));
}

TEST(SvgChart, NumbersHaveTheDecimalSignThatIsAskedFor) {
    Series series = curve("a");
    series.y = {-1, 0, 0.5};
    EXPECT_THAT(svgChart({series}, {"t"}), HasSubstr(">−0.6<"));
    const std::string svg = svgChart({series}, {.title = "t", .decimal = ','});
    EXPECT_THAT(svg, HasSubstr(">−0,6<"));
    EXPECT_THAT(svg, Not(HasSubstr(">0.5<")));
}

// --- Bars, ranges, gaps ---------------------------------------------------------------------

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

Series thirdOctaves(std::vector<double> levels) {
    Series series;
    series.name = "bands";
    series.quantity = signalQuantity("Pa");
    series.xName = "f";
    series.xUnit = "Hz";
    series.bandEdge = std::pow(10.0, 0.05);
    const std::vector<double> centres = {500, 630, 800, 1000, 1250, 1600, 2000};
    series.x.assign(centres.begin(), centres.begin() + static_cast<std::ptrdiff_t>(levels.size()));
    series.y = std::move(levels);
    return series;
}

struct Bar {
    double x, y, width, height;
};
std::vector<Bar> barsIn(const std::string& svg) {
    std::vector<Bar> bars;
    const std::size_t begin = svg.find("<g clip-path");
    const std::string drawn = svg.substr(begin, svg.find("</g>") - begin);
    for (std::size_t at = drawn.find("<rect"); at != std::string::npos;
         at = drawn.find("<rect", at + 1)) {
        const std::string rect = drawn.substr(at);
        bars.push_back({numberAfter(rect, " x=\""), numberAfter(rect, " y=\""),
                        numberAfter(rect, " width=\""), numberAfter(rect, " height=\"")});
    }
    return bars;
}

TEST(SvgChart, BandsAreBarsWithNominalNames) {
    const std::string svg = svgChart({thirdOctaves({1, 2, 4, 2})}, {"t"});
    const std::vector<Bar> bars = barsIn(svg);
    ASSERT_EQ(bars.size(), 4U);
    EXPECT_NEAR(bars[2].height, 4 * bars[0].height, 0.3);  // from 0; tenths of a pixel
    EXPECT_NEAR(bars[1].x - bars[0].x, bars[3].x - bars[2].x, 0.11);
    EXPECT_NEAR(bars[0].width, bars[3].width, 0.11);
    EXPECT_EQ(countOf(svg, "<polyline"), 0U);
    for (const char* name : {">500<", ">630<", ">800<", ">1k<"})
        EXPECT_THAT(svg, HasSubstr(name));
}

TEST(SvgChart, ABandWithoutAValueIsAGap) {
    const std::vector<Bar> all = barsIn(svgChart({thirdOctaves({1, 2, 4, 2})}, {"t"}));
    const std::string svg = svgChart({thirdOctaves({1, kNone, 4, 2})}, {"t"});
    const std::vector<Bar> bars = barsIn(svg);
    ASSERT_EQ(bars.size(), 3U);
    EXPECT_EQ(bars[0].x, all[0].x);
    EXPECT_EQ(bars[1].x, all[2].x);
    EXPECT_THAT(svg, HasSubstr(">630<"));
    // Of many curves, which are drawn as steps, and of any other.
    Series steps = thirdOctaves({1, kNone, 4, 2});
    EXPECT_EQ(countOf(svgChart({steps, steps, steps, steps, steps}, {"t"}), "<polyline"), 10U);
    steps.bandEdge = 0;
    EXPECT_EQ(countOf(svgChart({steps}, {"t"}), "<polyline"), 1U);  // and a dot
    EXPECT_EQ(countOf(svgChart({steps}, {"t"}), "<circle"), 1U);
}

TEST(SvgChart, LevelsOfBandsStandOnTheAxis) {
    const std::string svg =
        svgChart({thirdOctaves({1e-5, 1, 100})}, {.title = "t", .decibels = true});
    const std::vector<Bar> bars = barsIn(svg);
    ASSERT_EQ(bars.size(), 3U);
    for (const Bar& bar : bars) {
        EXPECT_GT(bar.height, 1);
        EXPECT_NEAR(bar.y + bar.height, 366, 0.11);
    }
}

// The foot lies a fiftieth of what the levels span below the lowest, however little that is.
TEST(SvgChart, LevelsThatHardlyDifferFillTheirPlot) {
    const std::vector<Bar> bars =
        barsIn(svgChart({thirdOctaves({1, 1.001, 1.002})}, {.title = "t", .decibels = true}));
    ASSERT_EQ(bars.size(), 3U);
    EXPECT_GT(bars[2].height, 2 * bars[0].height);
}

TEST(SvgChart, TheLevelOfNothingLiesAtTheFoot) {
    Series series = curve("a");
    series.quantity = signalQuantity("Pa");
    series.y = {1, 0, 10};
    EXPECT_THAT(svgChart({series}, {.title = "t", .decibels = true}),
                HasSubstr("points=\"78,366 477,366 876,46\""));
}

TEST(SvgChart, CurvesOfBandsStandBesideEachOther) {
    const std::vector<Bar> bars =
        barsIn(svgChart({thirdOctaves({1, 2}), thirdOctaves({2, 1})}, {"t"}));
    ASSERT_EQ(bars.size(), 4U);
    EXPECT_NEAR(bars[0].x + bars[0].width, bars[2].x, 0.21);
    EXPECT_LT(bars[2].x + bars[2].width, bars[1].x);
}

Series classes(std::size_t count) {
    Series series;
    series.name = "classes";
    series.quantity = plainQuantity("%");
    series.xName = "from";
    series.xUnit = "Pa";
    series.classWidth = 20.0 / static_cast<double>(count);
    for (std::size_t i = 0; i < count; ++i) {
        series.x.push_back(-10 + static_cast<double>(i) * series.classWidth);
        series.y.push_back(static_cast<double>(i));
    }
    return series;
}

TEST(SvgChart, ClassesAreBarsBetweenTheirLimits) {
    const std::string svg = svgChart({classes(8)}, {"t"});
    EXPECT_EQ(barsIn(svg).size(), 8U);
    for (const char* limit : {">−10<", ">−7.5<", ">0<", ">7.5<", ">10<"})
        EXPECT_THAT(svg, HasSubstr(limit));
    EXPECT_THAT(svg, HasSubstr(">class limits [Pa]<"));
    // Where they are narrow some limits have names; where they are no bars any more, steps do.
    EXPECT_THAT(svgChart({classes(80)}, {"t"}), Not(HasSubstr(">−9.75<")));
    const std::string fine = svgChart({classes(100'000)}, {"t"});
    EXPECT_THAT(fine, HasSubstr("<polyline"));
    EXPECT_LT(fine.size(), 60'000U);
}

TEST(SvgChart, ARangeIsFilledBetweenItsLowestAndItsHighest) {
    Series range = curve("lowest to highest of 40");
    range.y = {2, 3, 2};
    range.lows = {0, 1, 1};
    const std::string svg = svgChart({range}, {"t"});
    // 0 at 366, 3 at 46: there along the highest, back along the lowest.
    EXPECT_THAT(svg, HasSubstr("fill-opacity=\"0.25\" points=\"78,152.7 477,46 876,152.7 "
                               "876,259.3 477,259.3 78,366\""));
    EXPECT_THAT(svg, HasSubstr(">lowest to highest of 40<"));
    Series bands = thirdOctaves({4, 4});
    bands.lows = {1, 2};
    const std::vector<Bar> bars = barsIn(svgChart({bands}, {"t"}));
    ASSERT_EQ(bars.size(), 2U);
    EXPECT_NEAR(bars[0].height / bars[1].height, 3.0 / 2, 0.01);
}

}  // namespace
}  // namespace vynhost::test
