#include "vynhost/results/table_row.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace vynhost {
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
    if (std::isnan(number)) return addEmpty();
    addNumberAs(number);
}

void TableRow::addNumber(double number, int digits) {
    if (std::isnan(number)) return addEmpty();
    addNumberAs(number, std::chars_format::general, digits);
}

void TableRow::addEmpty(std::size_t cells) {
    for (std::size_t i = 0; i < cells; ++i)
        beginCell();
}

const std::string& TableRow::end() {
    line_ += '\n';
    begun_ = false;
    return line_;
}

void TableRow::beginCell() {
    if (begun_) {
        line_ += style_.separator;
    } else {
        line_.clear();
    }
    begun_ = true;
}

void TableRow::addCell(std::string_view text) {
    beginCell();
    line_ += text;
}

template <class... Format>
void TableRow::addNumberAs(Format... format) {
    beginCell();
    std::array<char, 64> text;
    char* const begin = text.data();
    char* const end = std::to_chars(begin, begin + text.size(), format...).ptr;
    if (style_.decimal != '.') std::replace(begin, end, '.', style_.decimal);
    line_.append(begin, end);
}

}  // namespace vynhost
