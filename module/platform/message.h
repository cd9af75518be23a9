// Messages to the host's window and message boxes.
#pragma once

#include <cstdint>

namespace vynpack {

// The host's window: a window handle (Windows) or the address of the host's message function.
enum class HostWindow : std::int64_t { none = 0 };

namespace platform {

// Sends synchronously; the null window answers 0 to everything.
std::int64_t sendMessage(HostWindow window, std::uint32_t message, std::int64_t first,
                         std::int64_t second) noexcept;

// A modal box; returns the pressed button (1 = OK).
int messageBox(HostWindow owner, const char* text, const char* caption, unsigned style) noexcept;

}  // namespace platform
}  // namespace vynpack
