// A loaded module and its sixteen exports.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <type_traits>

#include "vynhost/interface/module_interface.h"

namespace vynhost {

namespace detail {

template <int Arguments>
struct ExportOf;
template <>
struct ExportOf<2> {
    using Type = Int (*)(Int, Int);
};
template <>
struct ExportOf<3> {
    using Type = Int (*)(Int, Int, Int);
};
template <>
struct ExportOf<4> {
    using Type = Int (*)(Int, Int, Int, Int);
};
template <>
struct ExportOf<5> {
    using Type = Int (*)(Int, Int, Int, Int, Int);
};

}  // namespace detail

struct Exports {
#define VYNHOST_MEMBER(name, arguments) detail::ExportOf<arguments>::Type name = nullptr;
    VYNHOST_EXPORTS(VYNHOST_MEMBER)
#undef VYNHOST_MEMBER
};

// The module could not be loaded, or lacks an export.
struct ModuleError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ModuleLibrary {
public:
    // Loads the module, which loads its analysis library as it starts. Raises ModuleError.
    explicit ModuleLibrary(const std::filesystem::path& path);
    // The same, also when it has not loaded this analysis library.
    ModuleLibrary(const std::filesystem::path& path, const std::filesystem::path& analysis);
    ~ModuleLibrary();
    ModuleLibrary(const ModuleLibrary&) = delete;
    ModuleLibrary& operator=(const ModuleLibrary&) = delete;

    const Exports& exports() const noexcept { return exports_; }
    // Any other exported name, or null.
    void* find(const char* name) const noexcept;

    // The module beside the running program (as it is built, and installed on Windows), else where
    // an installation has it, whether or not it is there.
    static std::filesystem::path defaultPath();

private:
    void* library_;
    Exports exports_;
};

}  // namespace vynhost
