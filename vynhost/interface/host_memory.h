// The memory that the host shares with the module, and the ledger of it.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "vynhost/interface/channel_data.h"
#include "vynhost/interface/module_interface.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {

class HostMemory {
public:
    enum class Kind { record, data };

    struct Entry {
        Kind kind = Kind::record;
        std::size_t bytes = 0;
        int number = 0;  // data blocks count from 1 in the order of their birth
        bool lockable = true;
    };

    explicit HostMemory(platform::Guard guard) : guard_(guard) {}
    ~HostMemory();
    HostMemory(const HostMemory&) = delete;
    HostMemory& operator=(const HostMemory&) = delete;

    // Zero-filled; `none` when memory is out.
    Handle allocate(Kind kind, std::size_t bytes);
    Handle allocateUnlockable(Kind kind);
    Handle allocateData(std::size_t values) {
        return allocate(Kind::data, kValuesOffset + values * sizeof(float));
    }
    // The head as it stands, and the values.
    Handle allocateData(const ChannelData& data);
    void free(Handle handle);

    // Null for handles that are not alive.
    const Entry* find(Handle handle) const;
    bool isData(Handle handle) const;
    // The live data block whose memory begins at this address, or `none`.
    Handle dataAt(const void* address) const;
    // As many values as the head says, but never more than the memory holds.
    ChannelData read(Handle handle) const;

    std::size_t aliveData() const { return aliveOf(Kind::data); }
    std::vector<Handle> dataHandles() const;
    std::size_t aliveRecords() const { return aliveOf(Kind::record); }
    // "D3", or "nothing", or "?" for what is no live data block.
    std::string name(Handle handle) const;
    // The names of handles that the module has left locked.
    std::vector<std::string> locked() const;
    // Handles behind whose memory something was written, by name.
    std::vector<std::string> takeOverruns() { return std::exchange(overruns_, {}); }

    platform::Guard guard() const noexcept { return guard_; }

private:
    Handle enter(Handle handle, Entry entry);
    std::size_t aliveOf(Kind kind) const;

    platform::Guard guard_;
    std::map<Handle, Entry> alive_;
    std::vector<std::string> overruns_;
    int born_ = 0;
};

// Memory of a record, for the length of a scope.
class SharedRecord {
public:
    SharedRecord(HostMemory& memory, std::size_t bytes)
        : memory_(&memory), handle_(memory.allocate(HostMemory::Kind::record, bytes)) {}
    ~SharedRecord() { memory_->free(handle_); }
    SharedRecord(const SharedRecord&) = delete;
    SharedRecord& operator=(const SharedRecord&) = delete;

    Handle handle() const noexcept { return handle_; }
    void write(std::size_t offset, const void* bytes, std::size_t size);
    void read(std::size_t offset, void* bytes, std::size_t size) const;
    // For addresses that the module is given instead of a handle. Fixed memory only.
    void* address() const;

private:
    HostMemory* memory_;
    Handle handle_;
};

}  // namespace vynhost
