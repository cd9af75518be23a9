#include <windows.h>

#include "system.h"

namespace {

vyn_window_function messages = nullptr;

LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    const bool ofModule = message >= VYN_TRIGGER_THRESHOLD && message <= VYN_OUTPUT_COUNT;
    return ofModule ? messages(message, static_cast<vyn_int>(first), second)
                    : ::DefWindowProcA(window, message, first, second);
}

HGLOBAL global(vyn_handle handle) { return reinterpret_cast<HGLOBAL>(handle); }

}  // namespace

vyn_handle newMemory(std::size_t bytes) {
    return reinterpret_cast<vyn_handle>(::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes));
}

void freeMemory(vyn_handle handle) { ::GlobalFree(global(handle)); }

void* address(vyn_handle handle) {
    void* place = ::GlobalLock(global(handle));
    ::GlobalUnlock(global(handle));  // nothing here moves it
    return place;
}

vyn_int openWindow(vyn_window_function function) {
    messages = function;
    WNDCLASSA type{};
    type.lpfnWndProc = windowProcedure;
    type.hInstance = ::GetModuleHandleA(nullptr);
    type.lpszClassName = "ExampleHost";
    ::RegisterClassA(&type);
    return reinterpret_cast<vyn_int>(::CreateWindowA("ExampleHost", "", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                                     nullptr, type.hInstance, nullptr));
}

// The shared directory is a value of the machine's registry, which the installer has set.
Module::Module(const char* file, const char*) : library_(::LoadLibraryA(file)) {}
Module::~Module() {
    if (library_ != nullptr) ::FreeLibrary(static_cast<HMODULE>(library_));
}
void* Module::find(const char* name) const {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library_), name));
}
