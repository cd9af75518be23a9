#include "platform/resources.h"

#include <algorithm>
#include <string_view>

namespace vynpack::platform {
namespace {

struct Entry {
    unsigned id;
    std::string_view text;
};

constexpr Entry kStrings[] = {
#define VYN_STRING(id, text) {id, text},
#include "dialogs/strings.def"
#undef VYN_STRING
};

}  // namespace

StringBuffer loadString(unsigned id) noexcept {
    StringBuffer buffer{};
    for (const Entry& entry : kStrings) {
        if (entry.id == id) entry.text.copy(buffer.data(), buffer.size() - 1);
    }
    return buffer;
}

}  // namespace vynpack::platform
