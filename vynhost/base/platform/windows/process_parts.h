// What starting a process on Windows takes.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

namespace vynhost::platform {

// The running program's file.
inline std::wstring programPath() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// A word of a command line, in quotes: as the C library of the started program takes it apart.
// Backslashes count double before a quote.
inline std::wstring quotedWord(const std::wstring& word) {
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t letter : word) {
        if (letter == L'"') text.append(backslashes + 1, L'\\');
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        text += letter;
    }
    text.append(backslashes, L'\\');
    return text + L'"';
}

// A handle that is closed with its owner.
class OwnHandle {
public:
    OwnHandle() = default;
    explicit OwnHandle(HANDLE handle) : handle_(handle) {}
    ~OwnHandle() { close(); }
    OwnHandle(const OwnHandle&) = delete;
    OwnHandle& operator=(const OwnHandle&) = delete;

    HANDLE get() const noexcept { return handle_; }
    // For functions that give a handle.
    HANDLE* place() noexcept { return &handle_; }
    void close() noexcept {
        if (handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE) ::CloseHandle(handle_);
        handle_ = nullptr;
    }

private:
    HANDLE handle_ = nullptr;
};

}  // namespace vynhost::platform
