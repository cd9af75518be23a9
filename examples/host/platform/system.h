// What a host has to do differently on each system: memory that both sides see, the window that
// takes the module's messages, loading.
#pragma once

#include <vynpack/host_interface.h>

#include <cstddef>

// Zero-filled memory that the module can lock; 0 when there is none.
vyn_handle newMemory(std::size_t bytes);
void freeMemory(vyn_handle handle);
// Where it lies. It stays there until it is freed.
void* address(vyn_handle handle);

// Starts to hand the module's messages to a function; what SetInit takes as the host's window.
vyn_int openWindow(vyn_window_function function);

// The loaded module, which finds its library below the shared directory.
class Module {
public:
    Module(const char* file, const char* sharedDirectory);
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    bool loaded() const { return library_ != nullptr; }
    void* find(const char* name) const;

private:
    void* library_ = nullptr;
};

inline vyn_handle newDataBlock(std::size_t count) {
    return newMemory(VYN_VALUES_OFFSET + count * sizeof(float));
}
inline vyn_channel_header* header(vyn_handle block) {
    return static_cast<vyn_channel_header*>(address(block));
}
inline float* values(vyn_handle block) {
    return reinterpret_cast<float*>(static_cast<char*>(address(block)) + VYN_VALUES_OFFSET);
}
