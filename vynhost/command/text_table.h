// Tables for a terminal: columns of one width, numbers at their right.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vynhost {

// With so many decimals; "-" where there is none, or what is no number.
std::string fixedText(std::optional<double> number, int decimals = 2);

class TextTable {
public:
    explicit TextTable(std::vector<std::string> head) { add(std::move(head)); }

    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    // All lines, of letters that a terminal shows; the first column at its left.
    std::string text() const;

private:
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace vynhost
