#include "platform/settings.h"

#include <windows.h>

#include <memory>
#include <type_traits>

namespace vynpack::platform {
namespace {

constexpr char kInstallerKey[] = "SOFTWARE\\Orvane\\Common\\Installer";
constexpr char kDirectoryValue[] = "OVSHAREDDIR64";

struct KeyCloser {
    void operator()(HKEY key) const noexcept { ::RegCloseKey(key); }
};
using OpenKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

OpenKey openForReading(HKEY hive, const char* path) noexcept {
    HKEY key = nullptr;
    const LSTATUS status = ::RegOpenKeyExA(hive, path, 0, KEY_QUERY_VALUE, &key);
    return OpenKey(status == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

std::optional<std::string> sharedDirectory() {
    const OpenKey key = openForReading(HKEY_LOCAL_MACHINE, kInstallerKey);
    if (!key) return std::nullopt;

    DWORD size = 0;
    if (::RegQueryValueExA(key.get(), kDirectoryValue, nullptr, nullptr, nullptr, &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::string text(size, '\0');
    if (::RegQueryValueExA(key.get(), kDirectoryValue, nullptr, nullptr,
                           reinterpret_cast<BYTE*>(text.data()), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    text.resize(size);
    // The value may or may not carry its terminator.
    return text.substr(0, text.find('\0'));
}

}  // namespace vynpack::platform
