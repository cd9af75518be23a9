// The host's parameter file: an open, positioned file that the module only reads or writes on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vynpack {

// An old-style file handle (Windows) or a file descriptor (elsewhere), owned by the host.
enum class FileHandle : std::int64_t {};

namespace platform {

// Both return the number of bytes moved, which is smaller than `bytes` only at the end of the file
// or after an error.
std::size_t readFile(FileHandle file, void* buffer, std::size_t bytes) noexcept;
std::size_t writeFile(FileHandle file, const void* buffer, std::size_t bytes) noexcept;

}  // namespace platform
}  // namespace vynpack
