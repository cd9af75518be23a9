// Files that are not there for anybody else yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "vynhost/run/interrupt.h"

namespace vynhost {

// Raises RunError: the file can't be written.
[[noreturn]] void failWriting(const std::filesystem::path& path);

// A path in the folder that nobody can know beforehand.
std::filesystem::path unguessable(const std::filesystem::path& folder);
// Whether a path has such a name, which nobody else gives.
bool isUnguessable(const std::filesystem::path& path);

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

// A new file under a name of its own, made where nothing was. It goes with this object, or with an
// interrupt, unless it has been given another name.
class TemporaryFile {
public:
    // Raises RunError, which names `purpose`.
    TemporaryFile(const std::filesystem::path& folder, const std::filesystem::path& purpose);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }
    // False when the disk does not take it.
    bool write(const void* bytes, std::size_t size) noexcept;
    bool close() noexcept;
    // It has another name now.
    void released() noexcept { ours_ = false; }

private:
    std::filesystem::path path_;
    RemovedWhenInterrupted removed_;
    OpenFile file_;
    bool ours_ = true;
};

// Bytes that wait on the disk to be read back. The file goes with this object, however the program
// ends.
class WaitingBytes {
public:
    // Raises RunError, which names `purpose`.
    WaitingBytes(const std::filesystem::path& folder, std::filesystem::path purpose);

    // All of it at the end, before the first read. Raises RunError.
    void append(const void* bytes, std::size_t size);
    // Raises RunError.
    void read(std::uint64_t position, void* bytes, std::size_t size);

private:
    std::filesystem::path purpose_;
    OpenFile file_;
};

}  // namespace vynhost
