#include "platform/library.h"

#include <dlfcn.h>

namespace vynpack::platform {

const char* const kAnalysisLibraryFile = "/Analysis/ovanlys.so";
const char* const kMathEngineFile = "VYNMATH.so";

LibraryHandle loadLibrary(const char* path) noexcept {
    return ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

void unloadLibrary(LibraryHandle library) noexcept { ::dlclose(library); }

void* findFunction(LibraryHandle library, const char* name) noexcept {
    return ::dlsym(library, name);
}

}  // namespace vynpack::platform
