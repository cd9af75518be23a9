#include "vynhost/interface/module_library.h"

#include <string>
#include <system_error>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {
namespace {

void* load(const std::filesystem::path& path) {
    std::string why;
    void* library = platform::loadLibrary(path, why);
    if (library == nullptr) {
        throw ModuleError(tr("the module %1 does not load: %2", textOf(path), why));
    }
    return library;
}

}  // namespace

ModuleLibrary::ModuleLibrary(const std::filesystem::path& path) : library_(load(path)) {
    std::string missing;
    const auto bind = [&](auto& function, const char* name) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(find(name));
        if (function == nullptr) missing.append(missing.empty() ? "" : ", ").append(name);
    };
#define VYNHOST_BIND(name, arguments) bind(exports_.name, #name);
    VYNHOST_EXPORTS(VYNHOST_BIND)
#undef VYNHOST_BIND
    if (!missing.empty()) {
        platform::unloadLibrary(library_);
        throw ModuleError(tr("the module %1 lacks %2", textOf(path), missing));
    }
}

ModuleLibrary::ModuleLibrary(const std::filesystem::path& path,
                             const std::filesystem::path& analysis)
    : ModuleLibrary(path) {
    if (platform::isLoaded(analysis)) return;
    std::string why = tr("the module does not ask for it");
    void* library = platform::loadLibrary(analysis, why);
    if (library != nullptr) platform::unloadLibrary(library);
    throw ModuleError(tr("the analysis library %1 is not loaded: %2", textOf(analysis), why));
}

ModuleLibrary::~ModuleLibrary() { platform::unloadLibrary(library_); }

void* ModuleLibrary::find(const char* name) const noexcept {
    return platform::findFunction(library_, name);
}

std::filesystem::path ModuleLibrary::defaultPath() {
    const std::filesystem::path folder = platform::programFolder();
    std::filesystem::path beside = folder / platform::kModuleFile;
    std::error_code unreadable;
    if (std::filesystem::is_regular_file(beside, unreadable)) return beside;
    return (folder / VYN_MODULE_FOLDER / platform::kModuleFile).lexically_normal();
}

}  // namespace vynhost
