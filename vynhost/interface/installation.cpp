#include "vynhost/interface/installation.h"

#include <algorithm>
#include <system_error>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {
namespace {

bool isThere(const std::filesystem::path& path) {
    std::error_code unreadable;
    return std::filesystem::is_regular_file(path, unreadable);
}

LibraryPlace placeBelow(const std::filesystem::path& sharedDirectory, const std::string& reason) {
    const std::filesystem::path file = sharedDirectory / "Analysis" / platform::kLibraryFile;
    return {sharedDirectory, file, reason, isThere(file)};
}

}  // namespace

const LibraryPlace* Installation::library() const noexcept {
    const auto found = std::ranges::find_if(places, &LibraryPlace::exists);
    return found != places.end() ? &*found : nullptr;
}

Installation findInstallation() { return installationOf(ModuleLibrary::defaultPath()); }

Installation installationOf(const std::filesystem::path& module) {
    Installation result;
    result.module = module;
    result.places.push_back(placeBelow(result.module.parent_path(), words("beside the module")));
    result.pages = platform::programFolder() / "docs" / "blocks";
    if (const auto setting = platform::sharedDirectory()) {
        result.places.push_back(placeBelow(pathOf(*setting), platform::kSharedDirectoryName));
    }
    return result;
}

std::optional<std::string> libraryVersion(const std::filesystem::path& file, std::string& why) {
    constexpr const char* kVersionFunction = "ZABFunc79";
    void* loaded = platform::loadLibrary(file, why);
    if (loaded == nullptr) {
        why = tr("does not load: %1", why);
        return std::nullopt;
    }
    std::optional<std::string> version;
    const auto function =
        reinterpret_cast<int (*)()>(platform::findFunction(loaded, kVersionFunction));
    if (function == nullptr) {
        why = tr("has no %1", kVersionFunction);
    } else {
        const int number = function();
        version = toText(number / 100) + "." + toText(number % 100);
    }
    platform::unloadLibrary(loaded);
    return version;
}

void requireLibrary(const Installation& installation) {
    if (installation.library() != nullptr) return;
    std::string looked;
    for (const LibraryPlace& place : installation.places)
        looked += (looked.empty() ? "" : ", ") + textOf(place.file) + " (" + tr(place.reason) + ")";
    throw ModuleError(tr("the analysis library is missing; looked for %1", looked));
}

ModuleLibrary loadModule(const Installation& installation) {
    const LibraryPlace* library = installation.library();
    if (library == nullptr) return ModuleLibrary(installation.module);
    const platform::SharedDirectoryForLoading seen(library->sharedDirectory);
    return ModuleLibrary(installation.module, library->file);
}

}  // namespace vynhost
