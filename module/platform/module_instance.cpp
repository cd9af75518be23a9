#include "platform/module_instance.h"

namespace vynpack::platform {
namespace {

ModuleInstance theInstance = ModuleInstance::none;

}  // namespace

void setModuleInstance(ModuleInstance instance) noexcept { theInstance = instance; }

ModuleInstance moduleInstance() noexcept { return theInstance; }

}  // namespace vynpack::platform
