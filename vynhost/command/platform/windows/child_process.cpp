#include "vynhost/command/platform/child_process.h"

#include <windows.h>

#include <mutex>
#include <stdexcept>
#include <string>

#include "vynhost/base/platform/windows/process_parts.h"
#include "vynhost/base/text.h"

namespace vynhost::platform {
namespace {

// Handles that a child inherits exist only while this is held: no other child gets them.
std::mutex& startGuard() {
    static std::mutex guard;
    return guard;
}

}  // namespace

struct ChildProcess::Handles {
    OwnHandle output;
    OwnHandle process;
    DWORD number = 0;
};

ChildProcess::ChildProcess(const std::vector<std::string>& words)
    : handles_(std::make_unique<Handles>()) {
    const std::wstring program = programPath();
    std::wstring line = quotedWord(program);
    for (const std::string& word : words)
        line += L" " + quotedWord(pathOf(word).native());
    const std::lock_guard lock(startGuard());
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    OwnHandle writing;
    OwnHandle nothing;
    if (::CreatePipe(handles_->output.place(), writing.place(), &inherited, 0) == 0) {
        throw std::runtime_error("no pipe");
    }
    ::SetHandleInformation(handles_->output.get(), HANDLE_FLAG_INHERIT, 0);
    *nothing.place() = ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     &inherited, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = nothing.get();
    start.hStdOutput = writing.get();
    start.hStdError = writing.get();
    PROCESS_INFORMATION started{};
    // A group of its own: Ctrl-C reaches the one that started it, which passes it on.
    if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                         CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &start, &started) == 0) {
        throw std::runtime_error("the program can't be started");
    }
    ::CloseHandle(started.hThread);
    *handles_->process.place() = started.hProcess;
    handles_->number = started.dwProcessId;
}

ChildProcess::~ChildProcess() = default;

ChildProcess::End ChildProcess::wait() {
    End end{};
    constexpr DWORD kGlance = 10;  // milliseconds
    while (const auto piece = nextOutput(handles_->output.get(), handles_->process.get(), kGlance))
        end.output += *piece;
    ::WaitForSingleObject(handles_->process.get(), INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(handles_->process.get(), &code);
    constexpr DWORD kMost = 255;
    end.code = static_cast<int>(code > kMost ? kMost : code);
    return end;
}

void ChildProcess::interrupt() noexcept {
    ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, handles_->number);
}

std::string programFile() { return textOf(std::filesystem::path(programPath())); }

}  // namespace vynhost::platform
