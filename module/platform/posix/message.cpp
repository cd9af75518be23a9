#include "platform/message.h"

#include <unistd.h>
#include <string>

namespace vynpack::platform {

std::int64_t sendMessage(HostWindow window, std::uint32_t message, std::int64_t first,
                         std::int64_t second) noexcept {
    using MessageFunction = std::int64_t (*)(std::uint32_t, std::int64_t, std::int64_t);
    if (window == HostWindow::none) return 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<MessageFunction>(window)(message, first, second);
}

int messageBox(HostWindow, const char* text, const char* caption, unsigned) noexcept {
    constexpr int kOk = 1;
    try {
        std::string line(caption);
        line.append(": ").append(text).append("\n");
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    } catch (...) {  // no memory for the line: the box is lost, the caller's work is not
    }
    return kOk;
}

}  // namespace vynpack::platform
