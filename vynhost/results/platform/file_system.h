// What differs between the systems where files are written that nobody else may have a hand in.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

namespace vynhost::platform {

// The same for all names of one file: links, letter case, other ways to its folder.
struct FileIdentity {
    std::uint64_t volume;
    std::uint64_t file;
    bool operator==(const FileIdentity&) const = default;
};

// Of what a path leads to, links followed; nothing when there is nothing.
std::optional<FileIdentity> identityOf(const std::filesystem::path& path);

// The absolute path without links; what does not exist yet follows as it is written.
std::filesystem::path realPath(const std::filesystem::path& path);
// A file, and no link to one, folder or device.
bool isPlainFile(const std::filesystem::path& path);

// Two names that the system takes for one.
bool sameFileName(const std::filesystem::path& left, const std::filesystem::path& right);
// The system keeps a file under this name, and keeps the name as it stands.
bool isFileName(const std::filesystem::path& name);

// Makes a file that was not there, for reading and writing; no link is followed. Null when it
// can't.
std::FILE* createFile(const std::filesystem::path& path) noexcept;
// The same for a file that goes with its last handle, however the program ends.
std::FILE* createVanishingFile(const std::filesystem::path& path) noexcept;
bool moveTo(std::FILE* file, std::uint64_t position) noexcept;

// Gives a file its new name in one step. Where `replace` is not set, what has that name stays and
// the answer is an error.
std::error_code renameFile(const std::filesystem::path& from, const std::filesystem::path& to,
                           bool replace);

}  // namespace vynhost::platform
