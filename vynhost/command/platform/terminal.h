// What differs between the systems where something is shown to somebody who is looking on.
#pragma once

#include <optional>

namespace vynhost::platform {

// The width of the terminal or console that standard error is; nothing where it is none, or one
// that cannot go back in a line.
std::optional<int> terminalColumns();

}  // namespace vynhost::platform
