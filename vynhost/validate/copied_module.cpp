#include "vynhost/validate/copied_module.h"

#include <random>
#include <string>
#include <system_error>

namespace vynhost {

CopiedModule::CopiedModule(const Installation& original) {
    std::random_device random;
    do {
        folder_ = std::filesystem::temp_directory_path() /
                  ("vynhost-validate-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(folder_));
    const std::filesystem::path module = folder_ / original.module.filename();
    std::filesystem::copy_file(original.module, module);
    if (const LibraryPlace* library = original.library()) {
        std::filesystem::create_directory(folder_ / "Analysis");
        std::filesystem::copy_file(library->file, folder_ / "Analysis" / library->file.filename());
    }
    copy_ = installationOf(module);
}

CopiedModule::~CopiedModule() {
    std::error_code ignored;  // a library that is still loaded stays on some systems
    std::filesystem::remove_all(folder_, ignored);
}

}  // namespace vynhost
