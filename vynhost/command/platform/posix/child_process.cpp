#include "vynhost/command/platform/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include "vynhost/base/platform/posix/process_parts.h"

namespace vynhost::platform {
namespace {

constexpr const char* kSelf = "/proc/self/exe";

void require(int error, const char* what) {
    if (error != 0)
        throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(error));
}

// What is to be done in the child before it begins.
struct Preparations {
    posix_spawn_file_actions_t files{};
    posix_spawnattr_t attributes{};

    Preparations() {
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawnattr_init(&attributes);
    }
    ~Preparations() {
        ::posix_spawnattr_destroy(&attributes);
        ::posix_spawn_file_actions_destroy(&files);
    }
    Preparations(const Preparations&) = delete;
    Preparations& operator=(const Preparations&) = delete;
};

}  // namespace

struct ChildProcess::Handles {
    int output = -1;
    pid_t process = -1;
    std::mutex guard;  // of the process: its number is free for others once it is waited for
};

ChildProcess::ChildProcess(const std::vector<std::string>& words)
    : handles_(std::make_unique<Handles>()) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) require(errno, "no pipe");
    Preparations prepared;
    ::posix_spawn_file_actions_addopen(&prepared.files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&prepared.files, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&prepared.files, ends[1], STDERR_FILENO);
    // A group of its own: Ctrl-C reaches the one that started it, which passes it on.
    ::posix_spawnattr_setpgroup(&prepared.attributes, 0);
    ::posix_spawnattr_setflags(&prepared.attributes, POSIX_SPAWN_SETPGROUP);
    std::string name = "vynhost";
    std::vector<std::string> copies = words;
    std::vector<char*> arguments = {name.data()};
    for (std::string& word : copies)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int error = ::posix_spawn(&handles_->process, kSelf, &prepared.files,
                                    &prepared.attributes, arguments.data(), environ);
    ::close(ends[1]);
    handles_->output = ends[0];
    if (error != 0) ::close(ends[0]);
    require(error, "the program can't be started");
}

ChildProcess::~ChildProcess() = default;

ChildProcess::End ChildProcess::wait() {
    End end{};
    constexpr int kGlance = 100;  // milliseconds
    while (const auto piece = nextOutput(handles_->output, handles_->process, kGlance))
        end.output += *piece;
    ::close(handles_->output);
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(handles_->process), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    const std::lock_guard lock(handles_->guard);
    int status = 0;
    ::waitpid(handles_->process, &status, 0);
    handles_->process = -1;
    constexpr int kSignalled = 128;
    end.code = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
    return end;
}

void ChildProcess::interrupt() noexcept {
    const std::lock_guard lock(handles_->guard);
    if (handles_->process > 0) ::kill(handles_->process, SIGTERM);
}

std::string programFile() { return kSelf; }

}  // namespace vynhost::platform
