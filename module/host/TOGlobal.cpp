#include "host/TOGlobal.h"

#include <algorithm>

#include "host/show_message.h"

namespace vynpack {

bool TOGlobal::start(ModuleInstance instance) {
    platform::setModuleInstance(instance);
    analysis_.load();
    return true;
}

void TOGlobal::end() noexcept { analysis_.unload(); }

bool TOGlobal::loadMathEngine() noexcept {
    const auto tell = [](TextId text) {
        ShowMessage(HostWindow::none, kBoxPlain, kTextHostTooOldCaption, text);
    };
    const auto found = mathEngine_.load();
    if (found == MathEngine::Found::complete) return true;
    // Kept: a missing engine is reported twice, as not found and as of a wrong version.
    if (found == MathEngine::Found::nothing) tell(kTextMathEngineNotFound);
    tell(kTextMathEngineVersion);
    return false;
}

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

}  // namespace vynpack
