// Where the module and its analysis library lie on this machine, and how the host makes the one
// find the other.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "vynhost/interface/module_library.h"

namespace vynhost {

// A place where the library may be.
struct LibraryPlace {
    std::filesystem::path sharedDirectory;
    std::filesystem::path file;  // in the Analysis folder below
    std::string reason;          // why it is looked for there
    bool exists;
};

struct Installation {
    std::filesystem::path module;  // where it is expected, if it is nowhere
    std::vector<LibraryPlace> places;

    // The folder of the pages on the block types, each named after its class.
    std::filesystem::path pages;

    // The first place that has the library, or null.
    const LibraryPlace* library() const noexcept;
};

// The module beside the program (as it is built, and on Windows installed) or in the folder of the
// installation; the library beside the module, else where the machine's shared directory says.
Installation findInstallation();
// The same for the module of this file.
Installation installationOf(const std::filesystem::path& module);

// "4.2" of the library in this file; nothing, and why, where it tells none.
std::optional<std::string> libraryVersion(const std::filesystem::path& file, std::string& why);

// Raises ModuleError with the places looked at when the library is in none of them.
void requireLibrary(const Installation& installation);

// The module, loaded so that it finds that library, whatever other hosts of the machine find.
ModuleLibrary loadModule(const Installation& installation);

}  // namespace vynhost
