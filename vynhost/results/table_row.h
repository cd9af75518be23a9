// Tables as text: cells, and how they are parted.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vynhost {

// RFC 4180 with a point in numbers, or as spreadsheets of countries with a decimal comma read and
// write it: semicolons between the cells and a byte order mark before them, without which such a
// program takes UTF-8 for the system's own letters.
struct TableStyle {
    char separator = ',';
    char decimal = '.';
    std::string_view begin;  // of the file
};
inline constexpr TableStyle kPointTables{};
inline constexpr TableStyle kCommaTables{';', ',', "\xEF\xBB\xBF"};

// A number as such a table has it, in as few digits as bring it back, or in at most so many.
std::string numberText(float number, const TableStyle& style);
std::string numberText(double number, int digits, const TableStyle& style);

// One line of a table.
class TableRow {
public:
    explicit TableRow(const TableStyle& style) : style_(style) {}

    // In quotes where the text holds a separator, a quote or a line end; with an apostrophe before
    // what a spreadsheet would take as a formula.
    void addText(std::string text);
    // What is no number (NaN) is an empty cell, as it is when a table is read.
    void addNumber(float number);
    void addNumber(double number, int digits);
    void addEmpty(std::size_t cells = 1);

    // With its end.
    std::string line() const { return line_ + "\n"; }

private:
    void addCell(std::string_view text);

    const TableStyle& style_;
    bool begun_ = false;
    std::string line_;
};

}  // namespace vynhost
