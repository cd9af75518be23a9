// A handle is the address of a master pointer, which holds the memory's address.
#include "platform/memory.h"

namespace vynpack::platform {
namespace {

void** masterPointer(MemoryHandle handle) noexcept {
    return reinterpret_cast<void**>(handle);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

void* lockMemory(MemoryHandle handle) noexcept {
    return handle == MemoryHandle::none ? nullptr : *masterPointer(handle);
}

void unlockMemory(MemoryHandle) noexcept {}

bool memoryHolds(MemoryHandle, std::size_t) noexcept { return true; }

}  // namespace vynpack::platform
