// The library's entry point starts and ends the module.
#include <windows.h>

#include "host/entry/CVynpakmApp.h"

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
    using vynpack::ModuleInstance;
    using vynpack::theApp;
    if (reason == DLL_PROCESS_ATTACH) {
        ::DisableThreadLibraryCalls(instance);
        return theApp().InitInstance(ModuleInstance{reinterpret_cast<std::int64_t>(instance)})
                   ? TRUE
                   : FALSE;
    }
    // When the whole process ends, the system's own libraries may be gone already.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) theApp().ExitInstance();
    return TRUE;
}
