#include "vynhost/command/text_table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

// In letters, of which UTF-8 may have several bytes.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

std::string fixedText(std::optional<double> number, int decimals) {
    if (!number || std::isnan(*number)) return "-";
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, *number);
    return text;
}

std::string TextTable::text() const {
    std::vector<std::vector<std::string>> shown = rows_;
    std::vector<std::size_t> widths;
    for (std::vector<std::string>& row : shown) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = printable(row[i]);
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    std::string result;
    for (const std::vector<std::string>& row : shown) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string blanks(widths[i] - widthOf(row[i]), ' ');
            line += (i == 0 ? "" : "  ") + (i == 0 ? row[i] + blanks : blanks + row[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + "\n";
    }
    return result;
}

}  // namespace vynhost
