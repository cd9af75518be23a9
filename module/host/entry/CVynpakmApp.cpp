#include "host/entry/CVynpakmApp.h"

#include <utility>

#include "host/entry/floating_point_mode.h"
#include "platform/component_runtime.h"

namespace vynpack {

bool CVynpakmApp::InitInstance(ModuleInstance instance) {
    platform::enableControlHosting();
    runtimeStarted_ = platform::startComponentRuntime();
    registerClassFactories();
    bool started = true;
    try {
        started = theGlobal().start(instance);
    } catch (...) {
        // No memory for the library's path: the module starts without the library.
    }
    FloatingPointMode::forgetStart();
    return started;
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
