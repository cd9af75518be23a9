#include "vynhost/validate/platform/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "vynhost/base/platform/posix/process_parts.h"

extern "C" char** environ;  // NOLINT(readability-redundant-declaration)

// Present when the program is built with a sanitizer, whose own memory grows.
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* file);

extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace vynhost::platform {
namespace {

// A pipe of which a child gets the writing end alone.
class Pipe {
public:
    Pipe() {
        if (::pipe2(ends_.data(), O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
    }
    ~Pipe() {
        ::close(ends_[0]);
        closeWriting();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reading() const noexcept { return ends_[0]; }
    int writing() const noexcept { return ends_[1]; }
    void closeWriting() noexcept {
        if (ends_[1] >= 0) ::close(ends_[1]);
        ends_[1] = -1;
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(
    const std::vector<std::pair<std::string, std::string>>& added) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        bool replaced = false;
        for (const auto& [name, value] : added)
            replaced = replaced || text.starts_with(name + "=");
        if (!replaced) all.push_back(text);
    }
    for (const auto& [name, value] : added)
        all.push_back(std::string(name).append("=").append(value));
    return all;
}

::pid_t start(std::vector<std::string> words, std::vector<std::string> environment, int output) {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    ::pid_t child = -1;
    const int error = ::posix_spawn(&child, "/proc/self/exe", &actions, nullptr,
                                    pointersTo(words).data(), pointersTo(environment).data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), "starting a process");
    return child;
}

Ending endingOf(::pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        return {false, "signal " + std::to_string(number) + " (" + ::strsignal(number) + ")"};
    }
    const int code = WEXITSTATUS(status);
    return {code == 0, "exit code " + std::to_string(code)};
}

}  // namespace

Ending runSelf(const std::vector<std::string>& words,
               const std::vector<std::pair<std::string, std::string>>& environment, double patience,
               const std::function<double(const std::string& line)>& onLine) {
    std::vector<std::string> all = {"vynhost"};
    all.insert(all.end(), words.begin(), words.end());
    Pipe pipe;
    const ::pid_t child = start(all, environmentWith(environment), pipe.writing());
    pipe.closeWriting();
    using Clock = std::chrono::steady_clock;
    constexpr int kGlance = 100;  // milliseconds
    std::string pending;
    auto last = Clock::now();
    while (const auto piece = nextOutput(pipe.reading(), child, kGlance)) {
        if (piece->empty() &&
            std::chrono::duration<double>(Clock::now() - last).count() > patience) {
            ::kill(child, SIGKILL);
            endingOf(child);
            return {false, "no answer for " + std::to_string(static_cast<int>(patience)) + " s"};
        }
        pending += *piece;
        for (std::size_t end = pending.find('\n'); end != std::string::npos;
             end = pending.find('\n')) {
            last = Clock::now();
            patience = onLine(pending.substr(0, end));
            pending.erase(0, end + 1);
        }
    }
    if (!pending.empty()) onLine(pending);
    return endingOf(child);
}

void crashQuietly() noexcept {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
}

ForgivenLeak::ForgivenLeak() noexcept {
    if (__lsan_disable != nullptr) __lsan_disable();
}

ForgivenLeak::~ForgivenLeak() {
    if (__lsan_enable != nullptr) __lsan_enable();
}

std::optional<double> processSize() {
    if (__sanitizer_set_report_fd != nullptr) return std::nullopt;
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

HandleCounts handleCounts() {
    HandleCounts counts;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++counts.kernel;
    return counts;
}

}  // namespace vynhost::platform
