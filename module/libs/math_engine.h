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

    // True when the engine is loaded and complete. A missing library shows one box, missing
    // functions another; a missing library shows both.
    bool load();
    // Releases the library. Handle and table are left as they are.
    void unload() noexcept;

    void* function(std::size_t entry) const { return functions_.at(entry); }

private:
    std::array<void*, kFunctions> functions_{};
    platform::LibraryHandle library_ = nullptr;
};

}  // namespace vynpack
