// The one global object: the block table, what the host said at set-up, and the two run-time
// libraries.
#pragma once

#include <array>
#include <cstdint>

#include "host/module_interface.h"
#include "libs/analysis_library.h"
#include "libs/math_engine.h"
#include "platform/message.h"
#include "platform/module_instance.h"

namespace vynpack {

class TOBlock;

// Index of a block in the block table; 0 means none.
using BlockHandle = std::int64_t;

class TOGlobal {
public:
    TOGlobal() = default;
    // Releases nothing: blocks still in the table at unload stay as they are, and the libraries are
    // released by `end` alone.
    virtual ~TOGlobal() = default;
    TOGlobal(const TOGlobal&) = delete;
    TOGlobal& operator=(const TOGlobal&) = delete;

    // Remembers the instance and loads the analysis library; a missing library is no failure.
    bool start(ModuleInstance instance);
    // Unloads the analysis library, if it is loaded.
    void end() noexcept;

    ModuleInstance moduleInstance() const noexcept { return platform::moduleInstance(); }
    HostWindow hostWindow() const noexcept { return hostWindow_; }
    void setHostWindow(HostWindow window) noexcept { hostWindow_ = window; }
    std::int32_t hostModeWord() const noexcept { return hostModeWord_; }
    void setHostModeWord(std::int32_t word) noexcept { hostModeWord_ = word; }
    std::int32_t hostInterfaceVersion() const noexcept { return hostInterfaceVersion_; }
    void setHostInterfaceVersion(std::int32_t version) noexcept { hostInterfaceVersion_ = version; }

    // The block of a handle; null for a free entry and for handles outside 1..1023.
    TOBlock* findBlock(BlockHandle handle) const noexcept;
    // Enters the block at the lowest free handle and returns it; 0 when the table is full. The
    // table does not own blocks.
    BlockHandle insertBlock(TOBlock* block) noexcept;
    // Frees the entry. Only for a handle that findBlock has just resolved.
    void removeBlock(BlockHandle handle) noexcept;

    AnalysisLibrary& analysis() noexcept { return analysis_; }
    MathEngine& mathEngine() noexcept { return mathEngine_; }
    // True when the engine is loaded and complete. A missing library shows one box, missing
    // functions another; a missing library shows both.
    bool loadMathEngine() noexcept;

private:
    static constexpr int kTableSize = kMaxBlocks + 1;  // entry 0 is never used

    HostWindow hostWindow_ = HostWindow::none;
    std::int32_t hostModeWord_ = 0;
    std::int32_t hostInterfaceVersion_ = 0;
    std::array<TOBlock*, kTableSize> blocks_{};
    AnalysisLibrary analysis_;
    MathEngine mathEngine_;
};

inline TOGlobal& theGlobal() noexcept {
    static TOGlobal global;
    return global;
}

}  // namespace vynpack
