#include "vynhost/command/platform/terminal.h"

#include <windows.h>

namespace vynhost::platform {

std::optional<int> terminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO console{};
    if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &console)) {
        return std::nullopt;
    }
    return console.srWindow.Right - console.srWindow.Left + 1;
}

}  // namespace vynhost::platform
