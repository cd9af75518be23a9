// How large and how deep the text of a diagram may be, looked at before it is parsed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vynhost {

// A parser follows names and brackets by calling itself, and keeps every table that a text begins:
// without bounds a text decides over stack and memory. No diagram of use comes near them.
inline constexpr std::size_t kMostDiagramBytes = std::size_t{1} << 20;
inline constexpr int kMostNameParts = 16;  // a.b.c has 3
inline constexpr int kMostBrackets = 32;   // open at one place

// Raises InputError, with the line, for a text beyond these bounds, and for a letter outside of
// ASCII that stands outside of quotes and comments, where TOML has none.
void checkBounds(std::string_view text, const std::string& file);

}  // namespace vynhost
