// The module's application object: starts and ends the module inside the host's process.
#pragma once

#include "host/TOGlobal.h"

namespace vynpack {

class CVynpakmApp {
public:
    // Enables hosted controls, starts the component runtime, registers the class factories and
    // starts the global object. False keeps the host from loading the module.
    bool InitInstance(ModuleInstance instance);
    int ExitInstance() noexcept;

private:
    // The module has no class factories of its own.
    static void registerClassFactories() noexcept {}

    bool runtimeStarted_ = false;
};

CVynpakmApp& theApp() noexcept;

}  // namespace vynpack
