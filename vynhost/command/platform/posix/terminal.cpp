#include "vynhost/command/platform/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace vynhost::platform {

std::optional<int> terminalColumns() {
    const char* kind = std::getenv("TERM");
    if (::isatty(STDERR_FILENO) == 0 || (kind != nullptr && std::string_view(kind) == "dumb")) {
        return std::nullopt;
    }
    constexpr int kUsual = 80;
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsual;
}

}  // namespace vynhost::platform
