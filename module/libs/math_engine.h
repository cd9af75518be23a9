// The math engine: a loader and a function table that stand ready; no block calls them.
#pragma once

#include <array>
#include <cstddef>

#include "platform/library.h"

namespace vynpack {

class MathEngine {
public:
    static constexpr std::size_t kFunctions = 17;
    static constexpr std::size_t kUnboundEntry = 14;  // has no name and stays null

    enum class Found { nothing, incomplete, complete };
    // Loads the library and binds its functions. An engine that is loaded already counts as
    // complete and is not looked at again.
    Found load() noexcept;
    // Releases the library. Handle and table are left as they are.
    void unload() noexcept;

    void* function(std::size_t entry) const { return functions_.at(entry); }

private:
    std::array<void*, kFunctions> functions_{};
    platform::LibraryHandle library_ = nullptr;
};

}  // namespace vynpack
