// The component runtime (OLE) that dialogs with hosted controls stand on. Nothing natively.
#pragma once

namespace vynpack::platform {

void enableControlHosting() noexcept;

// True when a later endComponentRuntime is owed.
bool startComponentRuntime() noexcept;
void endComponentRuntime() noexcept;

}  // namespace vynpack::platform
