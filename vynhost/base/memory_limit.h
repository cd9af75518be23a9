// How much memory a run may take for what its diagram asks for: data blocks, curves, waiting rows.
#pragma once

#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"

namespace vynhost {

// "64 GiB", "3 MiB": rounded up.
std::string memoryText(std::uint64_t bytes);

// What is given to all parts together.
class MemoryLimit {
public:
    static constexpr std::uint64_t kUsual = std::uint64_t{1} << 30;

    // `raisedBy` is what whoever runs it writes to allow more.
    explicit MemoryLimit(std::uint64_t bytes = kUsual, const char* raisedBy = "--memory") noexcept
        : bytes_(bytes), raisedBy_(raisedBy) {}
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

    std::uint64_t bytes() const noexcept { return bytes_; }

private:
    friend class MemoryPart;

    std::uint64_t bytes_;
    const char* raisedBy_;
    std::uint64_t taken_ = 0;
};

// What one thing takes of it while it lives. The limit must outlive it.
class MemoryPart {
public:
    MemoryPart(MemoryLimit& limit, Place place) noexcept
        : limit_(limit), place_(std::move(place)) {}
    ~MemoryPart() { limit_.taken_ -= bytes_; }
    MemoryPart(const MemoryPart&) = delete;
    MemoryPart& operator=(const MemoryPart&) = delete;

    // It takes so much from now on; said before it does. Raises InputError, which names the place
    // and `what`, where the limit does not allow it.
    void set(std::uint64_t bytes, const char* what) {
        if (bytes > limit_.bytes_ - (limit_.taken_ - bytes_)) refuse(bytes, what);
        limit_.taken_ += bytes - bytes_;
        bytes_ = bytes;
    }

private:
    [[noreturn]] void refuse(std::uint64_t bytes, const char* what) const;

    MemoryLimit& limit_;
    Place place_;
    std::uint64_t bytes_ = 0;
};

// Does the work; where the machine has no memory for it, raises InputError, which names the place.
template <class Work>
auto withMemory(const Place& place, Work work) {
    constexpr const char* kOut = words("there is not enough memory for it");
    try {
        return work();
    } catch (const std::bad_alloc&) {
        throw InputError(place, tr(kOut));
    } catch (const std::length_error&) {
        throw InputError(place, tr(kOut));
    }
}

}  // namespace vynhost
