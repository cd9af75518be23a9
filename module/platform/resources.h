// The module's own string table.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace vynpack::platform {

// One text of the string table, zero-terminated; longer texts are cut. An id without an entry gives
// the empty text. Windows: the ANSI code page; elsewhere: UTF-8.
using StringBuffer = std::array<char, 256>;
StringBuffer loadString(unsigned id) noexcept;

// Where the system has no string tables, the module's texts as its resources define them.
struct TextEntry {
    unsigned id;
    std::string_view text;
};
std::span<const TextEntry> moduleTexts() noexcept;

}  // namespace vynpack::platform
