#include <dlfcn.h>

#include <cstdlib>

#include "system.h"

// A handle is the address of a pointer to the memory, which is all that the module asks for.
vyn_handle newMemory(std::size_t bytes) {
    auto* master = static_cast<void**>(std::malloc(sizeof(void*)));
    if (master == nullptr) return 0;
    *master = std::calloc(1, bytes);
    return reinterpret_cast<vyn_handle>(master);
}

void freeMemory(vyn_handle handle) {
    std::free(address(handle));
    std::free(reinterpret_cast<void*>(handle));  // NOLINT(performance-no-int-to-ptr)
}

// NOLINTNEXTLINE(performance-no-int-to-ptr)
void* address(vyn_handle handle) { return *reinterpret_cast<void**>(handle); }

vyn_int openWindow(vyn_window_function function) { return reinterpret_cast<vyn_int>(function); }

Module::Module(const char* file, const char* sharedDirectory) {
    ::setenv("OVSHAREDDIR64", sharedDirectory, 0);  // read when the module is loaded
    library_ = ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
}
Module::~Module() {
    if (library_ != nullptr) ::dlclose(library_);
}
void* Module::find(const char* name) const { return ::dlsym(library_, name); }
