#include "vynhost/results/platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace vynhost::platform {

std::optional<FileIdentity> identityOf(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

std::filesystem::path realPath(const std::filesystem::path& path) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path));
}

bool isPlainFile(const std::filesystem::path& path) {
    return std::filesystem::is_regular_file(std::filesystem::symlink_status(path));
}

bool sameFileName(const std::filesystem::path& left, const std::filesystem::path& right) {
    return left.native() == right.native();
}

bool isFileName(const std::filesystem::path& name) {
    constexpr std::size_t kLongest = 255;  // of most file systems
    return name.native().size() <= kLongest && name.native().find('\0') == std::string::npos;
}

std::FILE* createFile(const std::filesystem::path& path) noexcept {
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (file < 0) return nullptr;
    std::FILE* stream = ::fdopen(file, "w+b");
    if (stream == nullptr) {
        ::unlink(path.c_str());
        ::close(file);
    }
    return stream;
}

std::FILE* createVanishingFile(const std::filesystem::path& path) noexcept {
    std::FILE* stream = createFile(path);
    if (stream != nullptr) ::unlink(path.c_str());
    return stream;
}

bool moveTo(std::FILE* file, std::uint64_t position) noexcept {
    return ::fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0;
}

std::error_code renameFile(const std::filesystem::path& from, const std::filesystem::path& to,
                           bool replace) {
    const auto last = [] { return std::error_code(errno, std::generic_category()); };
    if (replace) return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : last();
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return last();
    // A file system without that: a second name is never given over an old one.
    if (::link(from.c_str(), to.c_str()) != 0) return last();
    ::unlink(from.c_str());
    return {};
}

}  // namespace vynhost::platform
