#include "platform/message.h"

#include <windows.h>

namespace vynpack::platform {
namespace {

HWND windowOf(HostWindow window) noexcept {
    return reinterpret_cast<HWND>(window);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

std::int64_t sendMessage(HostWindow window, std::uint32_t message, std::int64_t first,
                         std::int64_t second) noexcept {
    return ::SendMessageA(windowOf(window), message, static_cast<WPARAM>(first), second);
}

int messageBox(HostWindow owner, const char* text, const char* caption, unsigned style) noexcept {
    return ::MessageBoxA(windowOf(owner), text, caption, style);
}

}  // namespace vynpack::platform
