#include "platform/file.h"

#include <unistd.h>
#include <cerrno>

namespace vynpack::platform {
namespace {

// Repeats a partial read or write until everything is moved, the file ends or an error comes.
template <class Transfer>
std::size_t transferAll(std::size_t bytes, Transfer transfer) noexcept {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t moved = transfer(done, bytes - done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) break;
        done += static_cast<std::size_t>(moved);
    }
    return done;
}

}  // namespace

std::size_t readFile(FileHandle file, void* buffer, std::size_t bytes) noexcept {
    return transferAll(bytes, [&](std::size_t done, std::size_t rest) {
        return ::read(static_cast<int>(file), static_cast<char*>(buffer) + done, rest);
    });
}

std::size_t writeFile(FileHandle file, const void* buffer, std::size_t bytes) noexcept {
    return transferAll(bytes, [&](std::size_t done, std::size_t rest) {
        return ::write(static_cast<int>(file), static_cast<const char*>(buffer) + done, rest);
    });
}

}  // namespace vynpack::platform
