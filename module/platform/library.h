// Libraries loaded by name at run time.
#pragma once

namespace vynpack::platform {

using LibraryHandle = void*;

// Null when there is no such library or it does not load. The path is UTF-8.
LibraryHandle loadLibrary(const char* path) noexcept;
void unloadLibrary(LibraryHandle library) noexcept;

// The exported function, or null.
void* findFunction(LibraryHandle library, const char* name) noexcept;

// File names of the two libraries as this system spells them.
extern const char* const kAnalysisLibraryFile;  // appended to the shared directory's text
extern const char* const kMathEngineFile;       // found by the system's own search

}  // namespace vynpack::platform
