#include "platform/settings.h"

#include <cstdlib>

namespace vynpack::platform {

std::optional<std::string> sharedDirectory() {
    const char* text = std::getenv("OVSHAREDDIR64");
    if (text == nullptr) return std::nullopt;
    return std::string(text);
}

}  // namespace vynpack::platform
