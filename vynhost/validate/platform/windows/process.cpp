#include "vynhost/validate/platform/process.h"

#include <windows.h>

#include <psapi.h>

#include <array>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "vynhost/base/platform/windows/process_parts.h"

namespace vynhost::platform {
namespace {

std::wstring wide(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

// Variables of this process, for as long as a child takes them over.
class Environment {
public:
    explicit Environment(const std::vector<std::pair<std::string, std::string>>& added) {
        for (const auto& [name, value] : added) {
            std::wstring before(32768, L'\0');
            const DWORD size = ::GetEnvironmentVariableW(wide(name).c_str(), before.data(),
                                                         static_cast<DWORD>(before.size()));
            before.resize(size);
            before_.emplace_back(wide(name), before);
            ::SetEnvironmentVariableW(wide(name).c_str(), wide(value).c_str());
        }
    }
    ~Environment() {
        for (const auto& [name, value] : before_)
            ::SetEnvironmentVariableW(name.c_str(), value.empty() ? nullptr : value.c_str());
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::vector<std::pair<std::wstring, std::wstring>> before_;
};

std::string hexadecimal(DWORD number) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

Ending endingOf(HANDLE process) {
    constexpr DWORD kFirstException = 0xC0000000;
    ::WaitForSingleObject(process, INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(process, &code);
    if (code >= kFirstException) return {false, "exception " + hexadecimal(code)};
    return {code == 0, "exit code " + std::to_string(code)};
}

}  // namespace

Ending runSelf(const std::vector<std::string>& words,
               const std::vector<std::pair<std::string, std::string>>& environment, double patience,
               const std::function<double(const std::string& line)>& onLine) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    OwnHandle reading;
    OwnHandle writing;
    OwnHandle nothing(::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    &inherited, OPEN_EXISTING, 0, nullptr));
    if (::CreatePipe(reading.place(), writing.place(), &inherited, 1 << 16) == 0)
        throw std::runtime_error("a pipe can't be made");
    ::SetHandleInformation(reading.get(), HANDLE_FLAG_INHERIT, 0);

    const std::wstring program = programPath();
    std::wstring line = quotedWord(program);
    for (const std::string& word : words)
        line += L" " + quotedWord(wide(word));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing.get();
    startup.hStdOutput = writing.get();
    startup.hStdError = writing.get();
    PROCESS_INFORMATION child{};
    {
        const Environment seen(environment);
        if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                             nullptr, &startup, &child) == 0) {
            throw std::runtime_error("a process can't be started");
        }
    }
    const OwnHandle process(child.hProcess);
    const OwnHandle thread(child.hThread);
    writing.close();

    using Clock = std::chrono::steady_clock;
    std::string pending;
    auto last = Clock::now();
    while (const auto piece = nextOutput(reading.get(), process.get(), 1)) {
        if (piece->empty() &&
            std::chrono::duration<double>(Clock::now() - last).count() > patience) {
            ::TerminateProcess(process.get(), 1);
            endingOf(process.get());
            return {false, "no answer for " + std::to_string(static_cast<int>(patience)) + " s"};
        }
        pending += *piece;
        for (std::size_t end = pending.find('\n'); end != std::string::npos;
             end = pending.find('\n')) {
            std::string text = pending.substr(0, end);
            if (text.ends_with('\r')) text.pop_back();
            pending.erase(0, end + 1);
            last = Clock::now();
            patience = onLine(text);
        }
    }
    if (!pending.empty()) onLine(pending);
    return endingOf(process.get());
}

void crashQuietly() noexcept {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

ForgivenLeak::ForgivenLeak() noexcept = default;

ForgivenLeak::~ForgivenLeak() = default;

std::optional<double> processSize() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    if (::K32GetProcessMemoryInfo(::GetCurrentProcess(),
                                  reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                                  sizeof counters) == 0) {
        return std::nullopt;
    }
    return static_cast<double>(counters.WorkingSetSize);
}

HandleCounts handleCounts() {
    HandleCounts counts;
    DWORD kernel = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &kernel) != 0)
        counts.kernel = static_cast<int>(kernel);
    counts.user = static_cast<int>(::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS));
    counts.graphics = static_cast<int>(::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS));
    return counts;
}

}  // namespace vynhost::platform
