#include "platform/library.h"

#include <windows.h>

namespace vynpack::platform {

const char* const kAnalysisLibraryFile = "\\Analysis\\ovanlys.dll";
const char* const kMathEngineFile = "VYNMATH.DLL";

LibraryHandle loadLibrary(const char* path) noexcept { return ::LoadLibraryA(path); }

void unloadLibrary(LibraryHandle library) noexcept { ::FreeLibrary(static_cast<HMODULE>(library)); }

void* findFunction(LibraryHandle library, const char* name) noexcept {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
}

}  // namespace vynpack::platform
