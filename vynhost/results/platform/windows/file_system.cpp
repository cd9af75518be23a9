#include "vynhost/results/platform/file_system.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace vynhost::platform {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::FILE* createWith(const std::filesystem::path& path, DWORD flags) noexcept {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                      FILE_SHARE_DELETE, nullptr, CREATE_NEW, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) return nullptr;
    const int descriptor =
        ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_RDWR | _O_BINARY);
    std::FILE* stream = descriptor < 0 ? nullptr : ::_fdopen(descriptor, "w+b");
    if (stream == nullptr) {
        descriptor < 0 ? static_cast<void>(::CloseHandle(file))
                       : static_cast<void>(::_close(descriptor));
        ::DeleteFileW(path.c_str());
    }
    return stream;
}

std::wstring inCapitals(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

// Names of devices, which they keep in every folder and with every extension.
bool isDevice(const std::wstring& name) {
    const std::wstring stem = inCapitals(name.substr(0, name.find(L'.')));
    const bool numbered = stem.size() == 4 && stem[3] >= L'0' && stem[3] <= L'9' &&
                          (stem.starts_with(L"COM") || stem.starts_with(L"LPT"));
    return numbered || stem == L"CON" || stem == L"PRN" || stem == L"AUX" || stem == L"NUL";
}

}  // namespace

std::optional<FileIdentity> identityOf(const std::filesystem::path& path) {
    const HANDLE file = ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) return std::nullopt;
    BY_HANDLE_FILE_INFORMATION information{};
    const BOOL known = ::GetFileInformationByHandle(file, &information);
    ::CloseHandle(file);
    if (!known) return std::nullopt;
    return FileIdentity{
        information.dwVolumeSerialNumber,
        (std::uint64_t{information.nFileIndexHigh} << 32) | information.nFileIndexLow};
}

std::filesystem::path realPath(const std::filesystem::path& path) {
    constexpr std::wstring_view kServer = L"\\\\?\\UNC\\";
    constexpr std::wstring_view kDrive = L"\\\\?\\";
    std::filesystem::path existing = std::filesystem::absolute(path).lexically_normal();
    std::filesystem::path rest;
    HANDLE file = INVALID_HANDLE_VALUE;
    while ((file = ::CreateFileW(existing.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) ==
           INVALID_HANDLE_VALUE) {
        if (!existing.has_relative_path()) return existing / rest;
        if (existing.has_filename())
            rest = rest.empty() ? existing.filename() : existing.filename() / rest;
        existing = existing.parent_path();
    }
    std::wstring real(32768, L'\0');
    real.resize(::GetFinalPathNameByHandleW(file, real.data(), static_cast<DWORD>(real.size()),
                                            FILE_NAME_NORMALIZED));
    ::CloseHandle(file);
    if (real.empty()) return existing / rest;
    if (real.starts_with(kServer)) {
        real.replace(0, kServer.size(), L"\\\\");
    } else if (real.starts_with(kDrive)) {
        real.erase(0, kDrive.size());
    }
    return std::filesystem::path(real) / rest;
}

bool isPlainFile(const std::filesystem::path& path) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = ::FindFirstFileW(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    ::FindClose(search);
    const bool link = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
                      (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK ||
                       found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
    return !link &&
           (found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

bool sameFileName(const std::filesystem::path& left, const std::filesystem::path& right) {
    return ::CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

bool isFileName(const std::filesystem::path& name) {
    const std::wstring& text = name.native();
    const bool plain = std::ranges::none_of(text, [](wchar_t c) {
        return c < L' ' || std::wstring_view(L"<>:\"|?*").find(c) != std::wstring_view::npos;
    });
    constexpr std::size_t kLongest = 255;
    return plain && text.size() <= kLongest && !text.ends_with(L'.') && !text.ends_with(L' ') &&
           !isDevice(text);
}

std::FILE* createFile(const std::filesystem::path& path) noexcept {
    return createWith(path, FILE_ATTRIBUTE_NORMAL);
}

std::FILE* createVanishingFile(const std::filesystem::path& path) noexcept {
    return createWith(path, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
}

bool moveTo(std::FILE* file, std::uint64_t position) noexcept {
    return ::_fseeki64(file, static_cast<long long>(position), SEEK_SET) == 0;
}

std::error_code renameFile(const std::filesystem::path& from, const std::filesystem::path& to,
                           bool replace) {
    const DWORD how = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    if (::MoveFileExW(from.c_str(), to.c_str(), how)) return {};
    return {static_cast<int>(::GetLastError()), std::system_category()};
}

}  // namespace vynhost::platform
