#include "vynhost/results/table_row.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

std::string withDecimal(std::string number, const TableStyle& style) {
    std::ranges::replace(number, '.', style.decimal);
    return number;
}

}  // namespace

std::string numberText(float number, const TableStyle& style) {
    return withDecimal(toText(number), style);
}

std::string numberText(double number, int digits, const TableStyle& style) {
    return withDecimal(toText(number, digits), style);
}

void TableRow::addText(std::string text) {
    if (!text.empty() &&
        std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos) {
        text.insert(text.begin(), '\'');
    }
    if (text.find_first_of(",;\t\"\r\n") == std::string::npos) return addCell(text);
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"') quoted += c;
        quoted += c;
    }
    addCell(quoted += '"');
}

void TableRow::addNumber(float number) {
    addCell(std::isnan(number) ? "" : numberText(number, style_));
}

void TableRow::addNumber(double number, int digits) {
    addCell(std::isnan(number) ? "" : numberText(number, digits, style_));
}

void TableRow::addEmpty(std::size_t cells) {
    for (std::size_t i = 0; i < cells; ++i)
        addCell("");
}

void TableRow::addCell(std::string_view text) {
    if (begun_) line_ += style_.separator;
    begun_ = true;
    line_ += text;
}

}  // namespace vynhost
