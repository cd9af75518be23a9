// The elements of a drawing, as SVG text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vynhost {

// In pixels, from the sheet's upper left corner.
struct Point {
    double x;
    double y;
};

std::string escaped(std::string_view text);
// To a tenth, which is enough for any screen and keeps files small.
std::string pixel(double position);

// `more` are further attributes, each with a blank before it.
std::string svgText(double x, double y, const char* anchor, const std::string& text,
                    const std::string& more = "");
std::string svgLine(Point from, Point to, const std::string& colour, const std::string& more = "");
std::string svgRectangle(Point corner, double width, double height, const std::string& fill,
                         const std::string& more = "");
// A line through the points, or a dot where there is but one.
std::string svgPolyline(const std::vector<Point>& points, const std::string& colour);
std::string svgPolygon(const std::vector<Point>& points, const std::string& fill,
                       const std::string& more = "");

// About as wide as a text of this size is, rather wider.
double textWidth(std::string_view text, double fontSize);

}  // namespace vynhost
