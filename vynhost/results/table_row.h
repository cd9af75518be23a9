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

// Where the cells of a row go.
class CellTarget {
public:
    CellTarget() = default;
    CellTarget(const CellTarget&) = delete;
    CellTarget& operator=(const CellTarget&) = delete;
    virtual ~CellTarget() = default;

    virtual void addText(std::string text) = 0;
    // What is no number (NaN) is an empty cell. In at most so many digits, where they are written.
    virtual void addNumber(float number) = 0;
    virtual void addNumber(double number, int digits) = 0;
    virtual void addEmpty(std::size_t cells) = 0;
    void addEmpty() { addEmpty(1); }
};

// The lines of a table, one after the other in the same buffer.
class TableRow : public CellTarget {
public:
    explicit TableRow(const TableStyle& style) : style_(style) {}

    // In quotes where the text holds a separator, a quote or a line end; with an apostrophe before
    // what a spreadsheet would take as a formula.
    void addText(std::string text) override;
    // In as few digits as bring it back, or in at most so many. What is no number (NaN) is an empty
    // cell, as it is when a table is read.
    void addNumber(float number) override;
    void addNumber(double number, int digits) override;
    using CellTarget::addEmpty;
    void addEmpty(std::size_t cells) override;

    // Ends the line and gives it with its end; it stays until the next one is begun.
    const std::string& end();

private:
    void beginCell();
    void addCell(std::string_view text);
    template <class... Number>
    void addNumberAs(Number... number);

    const TableStyle& style_;
    bool begun_ = false;
    std::string line_;
};

}  // namespace vynhost
