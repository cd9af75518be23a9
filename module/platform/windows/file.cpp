#include "platform/file.h"

#include <windows.h>

namespace vynpack::platform {
namespace {

constexpr UINT kFileError = static_cast<UINT>(HFILE_ERROR);

// Repeats a partial read or write until everything is moved, the file ends or an error comes.
template <class Transfer>
std::size_t transferAll(std::size_t bytes, Transfer transfer) noexcept {
    std::size_t done = 0;
    while (done < bytes) {
        const UINT moved = transfer(done, static_cast<UINT>(bytes - done));
        if (moved == 0 || moved == kFileError) break;
        done += moved;
    }
    return done;
}

}  // namespace

std::size_t readFile(FileHandle file, void* buffer, std::size_t bytes) noexcept {
    return transferAll(bytes, [&](std::size_t done, UINT rest) {
        return ::_lread(static_cast<HFILE>(file), static_cast<char*>(buffer) + done, rest);
    });
}

std::size_t writeFile(FileHandle file, const void* buffer, std::size_t bytes) noexcept {
    return transferAll(bytes, [&](std::size_t done, UINT rest) {
        return ::_lwrite(static_cast<HFILE>(file), static_cast<const char*>(buffer) + done, rest);
    });
}

}  // namespace vynpack::platform
