#include "platform/resources.h"

#include <windows.h>

#include "platform/module_instance.h"

namespace vynpack::platform {

StringBuffer loadString(unsigned id) noexcept {
    StringBuffer buffer{};
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto instance = reinterpret_cast<HINSTANCE>(moduleInstance());
    ::LoadStringA(instance, id, buffer.data(), static_cast<int>(buffer.size()));
    return buffer;
}

}  // namespace vynpack::platform
