#include "support/platform/test_system.h"

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "support/own_folder.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost::platform {

const char* const kHostProgram = "vynhost.exe";

bool setLockable(Handle, bool) noexcept { return false; }

Int sendToWindow(Int window, std::uint32_t message, Int first, Int second) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return ::SendMessageA(reinterpret_cast<HWND>(window), message, static_cast<WPARAM>(first),
                          second);
}

bool boxesCanBeCaught() noexcept {
    // Without a display the desktop has no size that a window could be seen on.
    static const bool seen = [] {
        catchBoxes();
        const int answer = ::MessageBoxA(nullptr, "", "", MB_OK);
        caughtBoxes();
        return answer == IDOK;
    }();
    return seen;
}

void limitMemory(std::size_t bytes) noexcept {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limit{};
    limit.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limit.ProcessMemoryLimit = bytes;
    const HANDLE job = ::CreateJobObjectA(nullptr, nullptr);
    ::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limit, sizeof limit);
    ::AssignProcessToJobObject(job, ::GetCurrentProcess());
}

void setVariable(const char* name, const std::string& value) {
    const auto wide = [](const std::string& text) {
        return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
    };
    ::_wputenv_s(wide(name).c_str(), wide(value).c_str());
}

struct PassingFile::Place {
    support::OwnFolder folder{"vynhost-passing"};
};

PassingFile::PassingFile(std::span<const std::uint8_t> bytes) : place_(std::make_unique<Place>()) {
    std::ofstream(path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

PassingFile::~PassingFile() = default;

std::filesystem::path PassingFile::path() const { return place_->folder.path() / "file"; }

int runShell(const std::string& command) {
    // The shell takes the outermost quotes off.
    const std::string quoted = "\"" + command + "\"";
    const std::filesystem::path text(std::u8string(quoted.begin(), quoted.end()));
    // Wine now and then starts a process not at all; nothing has run then.
    constexpr int kNoShell = -1;
    constexpr int kNoProgram = 9009;  // the shell's answer
    constexpr int kTries = 3;
    int code = kNoShell;
    for (int i = 0; i < kTries && (code == kNoShell || code == kNoProgram); ++i) {
        if (i > 0) std::cerr << "not started (" << code << "), once more: " << command << '\n';
        code = ::_wsystem(text.c_str());
    }
    return code;
}

std::optional<std::string> runOnTerminal(const std::string&, int,
                                         const std::function<bool(const std::string&)>&) {
    return std::nullopt;
}

}  // namespace vynhost::platform
