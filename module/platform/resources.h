// The module's own string table.
#pragma once

#include <array>

namespace vynpack::platform {

// One text of the string table, zero-terminated; longer texts are cut. An id without an entry gives
// the empty text. Windows: the ANSI code page; elsewhere: UTF-8.
using StringBuffer = std::array<char, 256>;
StringBuffer loadString(unsigned id) noexcept;

}  // namespace vynpack::platform
