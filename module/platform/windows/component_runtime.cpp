#include "platform/component_runtime.h"

#include <windows.h>

#include <commctrl.h>
#include <ole2.h>

namespace vynpack::platform {

void enableControlHosting() noexcept {
    const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_STANDARD_CLASSES | ICC_UPDOWN_CLASS};
    ::InitCommonControlsEx(&classes);
}

// A thread that the host set up for another apartment model keeps it, and nothing is owed.
bool startComponentRuntime() noexcept { return SUCCEEDED(::OleInitialize(nullptr)); }

void endComponentRuntime() noexcept { ::OleUninitialize(); }

}  // namespace vynpack::platform
