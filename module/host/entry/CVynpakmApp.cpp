#include "host/entry/CVynpakmApp.h"

#include <utility>

#include "platform/component_runtime.h"

namespace vynpack {

bool CVynpakmApp::InitInstance(ModuleInstance instance) {
    platform::enableControlHosting();
    runtimeStarted_ = platform::startComponentRuntime();
    registerClassFactories();
    try {
        return theGlobal().start(instance);
    } catch (...) {
        // No memory for the library's path: the module starts without the library.
        return true;
    }
}

int CVynpakmApp::ExitInstance() noexcept {
    if (std::exchange(runtimeStarted_, false)) platform::endComponentRuntime();
    return 0;
}

CVynpakmApp& theApp() noexcept {
    static CVynpakmApp app;
    return app;
}

}  // namespace vynpack
