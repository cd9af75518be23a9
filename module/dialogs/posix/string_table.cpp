// The string table for a system without one: the same texts, in UTF-8.
#include <array>

#include "platform/resources.h"

namespace vynpack::platform {
namespace {

constexpr auto kTexts = std::to_array<TextEntry>({
#define VYN_STRING(id, text) {id, text},
#include "dialogs/strings.def"
#undef VYN_STRING
});

}  // namespace

std::span<const TextEntry> moduleTexts() noexcept { return kTexts; }

}  // namespace vynpack::platform
