#include "host/TOGlobal.h"

#include <algorithm>

namespace vynpack {

bool TOGlobal::start(ModuleInstance instance) {
    moduleInstance_ = instance;
    analysis_.load();
    return true;
}

void TOGlobal::end() noexcept { analysis_.unload(); }

TOBlock* TOGlobal::findBlock(BlockHandle handle) const noexcept {
    if (handle < 1 || handle >= kTableSize) return nullptr;
    return blocks_[static_cast<std::size_t>(handle)];
}

BlockHandle TOGlobal::insertBlock(TOBlock* block) noexcept {
    const auto slot = std::find(blocks_.begin() + 1, blocks_.end(), nullptr);
    if (slot == blocks_.end()) return 0;
    *slot = block;
    return slot - blocks_.begin();
}

void TOGlobal::removeBlock(BlockHandle handle) noexcept {
    blocks_[static_cast<std::size_t>(handle)] = nullptr;
}

TOGlobal& theGlobal() noexcept {
    static TOGlobal global;
    return global;
}

}  // namespace vynpack
