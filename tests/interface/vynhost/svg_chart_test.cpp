// Pictures of curves.
#include "vynhost/results/svg_chart.h"

#include <gmock/gmock.h>

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

}  // namespace
}  // namespace vynhost::test
