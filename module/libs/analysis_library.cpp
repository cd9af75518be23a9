#include "libs/analysis_library.h"

#include <utility>

#include "platform/settings.h"

namespace vynpack {

void AnalysisLibrary::load() {
    library_ = nullptr;
    incomplete_ = false;
    const auto directory = platform::sharedDirectory();
    if (!directory) return;
    // The text is taken as it stands, whether or not it ends in a separator.
    library_ = platform::loadLibrary((*directory + platform::kAnalysisLibraryFile).c_str());
    if (library_ == nullptr) return;
    functions_.forEach([this](auto& entry) {
        entry.bind(platform::findFunction(library_, entry.name()));
        if (!entry.bound()) incomplete_ = true;
    });
    functions_.forEachOptional(
        [this](auto& entry) { entry.bind(platform::findFunction(library_, entry.name())); });
}

void AnalysisLibrary::unload() noexcept {
    if (library_ == nullptr) return;
    const auto clear = [](auto& entry) { entry.bind(nullptr); };
    functions_.forEach(clear);
    functions_.forEachOptional(clear);
    platform::unloadLibrary(std::exchange(library_, nullptr));
}

}  // namespace vynpack
