#include "platform/component_runtime.h"

namespace vynpack::platform {

void enableControlHosting() noexcept {}
bool startComponentRuntime() noexcept { return true; }
void endComponentRuntime() noexcept {}

}  // namespace vynpack::platform
