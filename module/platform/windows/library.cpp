#include "platform/library.h"

#include <windows.h>

#include <new>
#include <string>

namespace vynpack::platform {

const char* const kAnalysisLibraryFile = "\\Analysis\\ovanlys.dll";
const char* const kMathEngineFile = "VYNMATH.DLL";

LibraryHandle loadLibrary(const char* path) noexcept try {
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, path, -1, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, path, -1, wide.data(), size);
    return ::LoadLibraryW(wide.c_str());
} catch (const std::bad_alloc&) {
    return nullptr;
}

void unloadLibrary(LibraryHandle library) noexcept { ::FreeLibrary(static_cast<HMODULE>(library)); }

void* findFunction(LibraryHandle library, const char* name) noexcept {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
}

}  // namespace vynpack::platform
