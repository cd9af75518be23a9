#include "vynhost/results/svg_elements.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

constexpr const char* kStroke = "1.4";

std::string pointsText(const std::vector<Point>& points) {
    std::string text;
    for (const Point& point : points) {
        text += (text.empty() ? "" : " ") + pixel(point.x) + "," + pixel(point.y);
    }
    return text;
}

}  // namespace

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

std::string pixel(double position) { return toText(std::round(position * 10) / 10 + 0.0); }

std::string svgText(double x, double y, const char* anchor, const std::string& text,
                    const std::string& more) {
    return "<text x=\"" + pixel(x) + "\" y=\"" + pixel(y) + "\" text-anchor=\"" + anchor + "\"" +
           more + ">" + escaped(text) + "</text>\n";
}

std::string svgLine(Point from, Point to, const std::string& colour, const std::string& more) {
    return "<line x1=\"" + pixel(from.x) + "\" y1=\"" + pixel(from.y) + "\" x2=\"" + pixel(to.x) +
           "\" y2=\"" + pixel(to.y) + "\" stroke=\"" + colour + "\"" + more + "/>\n";
}

std::string svgRectangle(Point corner, double width, double height, const std::string& fill,
                         const std::string& more) {
    return "<rect x=\"" + pixel(corner.x) + "\" y=\"" + pixel(corner.y) + "\" width=\"" +
           pixel(width) + "\" height=\"" + pixel(height) + "\" fill=\"" + fill + "\"" + more +
           "/>\n";
}

std::string svgPolyline(const std::vector<Point>& points, const std::string& colour) {
    if (points.size() == 1) {
        return "<circle cx=\"" + pixel(points.front().x) + "\" cy=\"" + pixel(points.front().y) +
               "\" r=\"2\" fill=\"" + colour + "\"/>\n";
    }
    return std::string("<polyline fill=\"none\" stroke-linejoin=\"round\" stroke-width=\"") +
           kStroke + "\" stroke=\"" + colour + "\" points=\"" + pointsText(points) + "\"/>\n";
}

std::string svgPolygon(const std::vector<Point>& points, const std::string& fill,
                       const std::string& more) {
    return "<polygon fill=\"" + fill + "\"" + more + " points=\"" + pointsText(points) + "\"/>\n";
}

double textWidth(std::string_view text, double fontSize) {
    constexpr double kLetter = 0.58;  // of its height
    const auto letters = std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; });
    return std::ceil(kLetter * fontSize * static_cast<double>(letters));
}

}  // namespace vynhost
