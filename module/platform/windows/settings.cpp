#include "platform/settings.h"

#include <windows.h>

#include <memory>
#include <type_traits>

namespace vynpack::platform {
namespace {

constexpr wchar_t kInstallerKey[] = L"SOFTWARE\\Orvane\\Common\\Installer";
constexpr wchar_t kDirectoryValue[] = L"OVSHAREDDIR64";

struct KeyCloser {
    void operator()(HKEY key) const noexcept { ::RegCloseKey(key); }
};
using OpenKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

std::string toUtf8(const wchar_t* text) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

OpenKey openForReading(HKEY hive, const wchar_t* path) noexcept {
    HKEY key = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(hive, path, 0, KEY_QUERY_VALUE, &key);
    return OpenKey(status == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

std::optional<std::string> sharedDirectory() {
    const OpenKey key = openForReading(HKEY_LOCAL_MACHINE, kInstallerKey);
    if (!key) return std::nullopt;

    DWORD size = 0;
    if (::RegQueryValueExW(key.get(), kDirectoryValue, nullptr, nullptr, nullptr, &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::wstring text(size / sizeof(wchar_t) + 1, L'\0');  // with or without its terminator
    if (::RegQueryValueExW(key.get(), kDirectoryValue, nullptr, nullptr,
                           reinterpret_cast<BYTE*>(text.data()), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return toUtf8(text.c_str());
}

}  // namespace vynpack::platform
