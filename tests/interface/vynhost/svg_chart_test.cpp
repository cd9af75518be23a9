// Pictures of curves.
#include "vynhost/results/svg_chart.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

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
    EXPECT_THAT(svg, HasSubstr(">1e-303<"));
    EXPECT_THAT(svg, Not(HasSubstr(">1e-302<")));
    series.x = {20, 200, 2000};
    EXPECT_THAT(svgChart({series}, {.title = "t", .logX = true}), HasSubstr(">500<"));
}

TEST(SvgChart, ControlCharactersBreakNoPicture) {
    const std::string svg = svgChart({curve("a")}, {"a\x01\x1b\v<\uFFFF\xFF\tb"});
    EXPECT_THAT(svg, HasSubstr(">a␁␛␋&lt;\uFFFD\uFFFD\tb<"));
}

}  // namespace
}  // namespace vynhost::test
