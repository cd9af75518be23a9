#include "platform/memory.h"

#include <windows.h>

namespace vynpack::platform {
namespace {

HGLOBAL global(MemoryHandle handle) noexcept {
    return reinterpret_cast<HGLOBAL>(handle);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

void* lockMemory(MemoryHandle handle) noexcept {
    return handle == MemoryHandle::none ? nullptr : ::GlobalLock(global(handle));
}

void unlockMemory(MemoryHandle handle) noexcept { ::GlobalUnlock(global(handle)); }

bool memoryHolds(MemoryHandle handle, std::size_t bytes) noexcept {
    // Zero stands for "not known": memory that is not from the global heap locks but has no size.
    const std::size_t size = ::GlobalSize(global(handle));
    return size == 0 || size >= bytes;
}

}  // namespace vynpack::platform
