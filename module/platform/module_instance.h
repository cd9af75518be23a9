// The module's own instance, from which its texts and dialog templates are loaded.
#pragma once

#include <cstdint>

namespace vynpack {

enum class ModuleInstance : std::int64_t { none = 0 };

namespace platform {

// Told once, when the module starts; none before that (a program that links the module's parts uses
// its own resources).
void setModuleInstance(ModuleInstance instance) noexcept;
ModuleInstance moduleInstance() noexcept;

}  // namespace platform
}  // namespace vynpack
