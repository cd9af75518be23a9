// Memory that crosses the boundary: the host's records and data blocks, named by handles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace vynpack {

// A global memory handle as it stands in the host's records; `none` names nothing.
enum class MemoryHandle : std::uint64_t { none = 0 };

namespace platform {

// The memory's address, or null when the handle cannot be locked. Every successful lock is paired
// with one unlock.
void* lockMemory(MemoryHandle handle) noexcept;
void unlockMemory(MemoryHandle handle) noexcept;

// False only where the system knows that fewer bytes lie behind the handle.
bool memoryHolds(MemoryHandle handle, std::size_t bytes) noexcept;

}  // namespace platform

// A lock on host memory for the length of a scope. Holds null when the handle cannot be locked.
class LockedMemory {
public:
    LockedMemory() = default;
    explicit LockedMemory(MemoryHandle handle) noexcept
        : handle_(handle), address_(platform::lockMemory(handle)) {}
    LockedMemory(LockedMemory&& other) noexcept
        : handle_(other.handle_), address_(std::exchange(other.address_, nullptr)) {}
    LockedMemory& operator=(LockedMemory&& other) noexcept {
        if (this != &other) {
            unlock();
            handle_ = other.handle_;
            address_ = std::exchange(other.address_, nullptr);
        }
        return *this;
    }
    LockedMemory(const LockedMemory&) = delete;
    LockedMemory& operator=(const LockedMemory&) = delete;
    ~LockedMemory() { unlock(); }

    void unlock() noexcept {
        if (std::exchange(address_, nullptr) != nullptr) platform::unlockMemory(handle_);
    }

    // Ends the scope's hold without unlocking.
    void leaveLocked() noexcept { address_ = nullptr; }

    explicit operator bool() const noexcept { return address_ != nullptr; }
    void* address() const noexcept { return address_; }
    MemoryHandle handle() const noexcept { return handle_; }

    // False only where the system knows that there are fewer.
    bool holds(std::size_t bytes) const noexcept { return platform::memoryHolds(handle_, bytes); }

private:
    MemoryHandle handle_ = MemoryHandle::none;
    void* address_ = nullptr;
};

}  // namespace vynpack
