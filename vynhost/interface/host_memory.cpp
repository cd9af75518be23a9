#include "vynhost/interface/host_memory.h"

#include <algorithm>
#include <cstring>

namespace vynhost {

HostMemory::~HostMemory() {
    while (!alive_.empty())
        free(alive_.begin()->first);
}

Handle HostMemory::enter(Handle handle, Entry entry) {
    if (handle == Handle::none) return handle;
    if (entry.kind == Kind::data) entry.number = ++born_;
    alive_.emplace(handle, entry);
    return handle;
}

Handle HostMemory::allocate(Kind kind, std::size_t bytes) {
    return enter(platform::allocateMemory(bytes, guard_), {kind, bytes, 0, true});
}

Handle HostMemory::allocateUnlockable(Kind kind) {
    return enter(platform::allocateUnlockable(), {kind, 0, 0, false});
}

Handle HostMemory::allocateData(const ChannelData& data) {
    const Handle handle = allocateData(data.values.size());
    if (handle == Handle::none) return handle;
    const platform::View view(handle);
    std::memcpy(view.address(), &data.header, sizeof data.header);
    std::memcpy(view.address() + sizeof data.header, data.hostBytes.data(), data.hostBytes.size());
    if (!data.values.empty()) {
        std::memcpy(view.address() + kValuesOffset, data.values.data(),
                    data.values.size() * sizeof(float));
    }
    return handle;
}

void HostMemory::free(Handle handle) {
    const auto found = alive_.find(handle);
    if (found == alive_.end()) return;
    const std::string called = name(handle);
    alive_.erase(found);
    if (!platform::freeMemory(handle)) overruns_.push_back(called);
}

const HostMemory::Entry* HostMemory::find(Handle handle) const {
    const auto found = alive_.find(handle);
    return found == alive_.end() ? nullptr : &found->second;
}

bool HostMemory::isData(Handle handle) const {
    const Entry* entry = find(handle);
    return entry != nullptr && entry->kind == Kind::data;
}

Handle HostMemory::dataAt(const void* address) const {
    for (const auto& [handle, entry] : alive_) {
        if (entry.kind == Kind::data && entry.lockable &&
            platform::View(handle).address() == address) {
            return handle;
        }
    }
    return Handle::none;
}

ChannelData HostMemory::read(Handle handle) const {
    ChannelData data;
    const Entry* entry = find(handle);
    if (entry == nullptr || entry->bytes < kValuesOffset) return data;
    const platform::View view(handle);
    std::memcpy(&data.header, view.address(), sizeof data.header);
    std::memcpy(data.hostBytes.data(), view.address() + sizeof data.header, data.hostBytes.size());
    const std::size_t room = (entry->bytes - kValuesOffset) / sizeof(float);
    const auto counted =
        static_cast<std::size_t>(std::max<std::int32_t>(data.header.valueCount, 0));
    data.values.resize(std::min(room, counted));
    if (!data.values.empty()) {
        std::memcpy(data.values.data(), view.address() + kValuesOffset,
                    data.values.size() * sizeof(float));
    }
    return data;
}

std::size_t HostMemory::aliveOf(Kind kind) const {
    return static_cast<std::size_t>(std::count_if(
        alive_.begin(), alive_.end(), [&](const auto& row) { return row.second.kind == kind; }));
}

std::vector<Handle> HostMemory::dataHandles() const {
    std::vector<Handle> handles;
    for (const auto& [handle, entry] : alive_) {
        if (entry.kind == Kind::data) handles.push_back(handle);
    }
    return handles;
}

std::string HostMemory::name(Handle handle) const {
    if (handle == Handle::none) return "nothing";
    const Entry* entry = find(handle);
    if (entry == nullptr) return "?";
    return entry->kind == Kind::data ? "D" + std::to_string(entry->number) : "record";
}

std::vector<std::string> HostMemory::locked() const {
    std::vector<std::string> names;
    for (const auto& [handle, entry] : alive_) {
        if (platform::lockCount(handle) != 0) names.push_back(name(handle));
    }
    return names;
}

void SharedRecord::write(std::size_t offset, const void* bytes, std::size_t size) {
    const platform::View view(handle_);
    std::memcpy(view.address() + offset, bytes, size);
}

void SharedRecord::read(std::size_t offset, void* bytes, std::size_t size) const {
    const platform::View view(handle_);
    std::memcpy(bytes, view.address() + offset, size);
}

void* SharedRecord::address() const { return platform::View(handle_).address(); }

}  // namespace vynhost
