// A handle is the address of a master pointer, which holds the memory's address.
#include "platform/memory.h"

#include <cstdlib>

namespace vynpack::platform {
namespace {

// The module's own blocks: the master pointer stands in front of the memory it names.
struct alignas(16) OwnBlock {
    void* address;
};

void** masterPointer(MemoryHandle handle) noexcept {
    return reinterpret_cast<void**>(handle);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

void* lockMemory(MemoryHandle handle) noexcept {
    return handle == MemoryHandle::none ? nullptr : *masterPointer(handle);
}

void unlockMemory(MemoryHandle) noexcept {}

std::optional<std::size_t> memorySize(MemoryHandle) noexcept { return std::nullopt; }

MemoryHandle allocateMemory(std::size_t bytes) noexcept {
    if (bytes > static_cast<std::size_t>(-1) - sizeof(OwnBlock)) return MemoryHandle::none;
    auto* block = static_cast<OwnBlock*>(std::calloc(1, sizeof(OwnBlock) + bytes));
    if (block == nullptr) return MemoryHandle::none;
    block->address = block + 1;
    return MemoryHandle{reinterpret_cast<std::uint64_t>(block)};
}

void freeMemory(MemoryHandle handle) noexcept { std::free(masterPointer(handle)); }

}  // namespace vynpack::platform
