// What starting a process on Windows takes.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
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

// What a child has written into the pipe since; empty where nothing came in that time. Nothing when
// no more comes: the child has ended, even if a process that was started from there keeps the
// pipe open.
inline std::optional<std::string> nextOutput(HANDLE pipe, HANDLE child, DWORD milliseconds) {
    // Asked before the pipe is, so that what the child wrote last is still read.
    const bool over = ::WaitForSingleObject(child, 0) == WAIT_OBJECT_0;
    DWORD waiting = 0;
    if (::PeekNamedPipe(pipe, nullptr, 0, nullptr, &waiting, nullptr) == 0) return std::nullopt;
    if (waiting == 0) {
        if (over) return std::nullopt;
        ::WaitForSingleObject(child, milliseconds);
        return std::string();
    }
    std::string piece(waiting, '\0');
    DWORD got = 0;
    if (::ReadFile(pipe, piece.data(), waiting, &got, nullptr) == 0) return std::nullopt;
    piece.resize(got);
    return piece;
}

}  // namespace vynhost::platform
