#include "platform/resources.h"

namespace vynpack::platform {
StringBuffer loadString(unsigned id) noexcept {
    StringBuffer buffer{};
    for (const TextEntry& entry : moduleTexts()) {
        if (entry.id == id) entry.text.copy(buffer.data(), buffer.size() - 1);
    }
    return buffer;
}

}  // namespace vynpack::platform
