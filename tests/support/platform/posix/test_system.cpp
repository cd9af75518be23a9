#include "support/platform/test_system.h"

#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "vynhost/interface/platform/system.h"

// Present when the program is built with a sanitizer.
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* file);

namespace vynhost::platform {

const char* const kHostProgram = "vynhost";

bool setLockable(Handle handle, bool lockable) noexcept {
    const View view(handle);
    if (view.address() == nullptr) return false;
    // A handle is the address of the pointer to the memory.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    *reinterpret_cast<void**>(handle) = lockable ? view.address() : nullptr;
    return true;
}

Int sendToWindow(Int window, std::uint32_t message, Int first, Int second) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<Int (*)(std::uint32_t, Int, Int)>(window)(message, first, second);
}

bool boxesCanBeCaught() noexcept { return true; }

void limitMemory(std::size_t bytes) noexcept {
    if (__sanitizer_set_report_fd != nullptr) return;  // its shadow needs the address space
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_AS, &limit);
}

void setVariable(const char* name, const std::string& value) {
    if (value.empty()) {
        ::unsetenv(name);
    } else {
        ::setenv(name, value.c_str(), 1);
    }
}

struct PassingFile::Place {
    int file = -1;
};

PassingFile::PassingFile(std::span<const std::uint8_t> bytes)
    : place_(new Place{::memfd_create("passing", MFD_CLOEXEC)}) {
    const auto size = static_cast<ssize_t>(bytes.size());
    if (place_->file < 0 || ::write(place_->file, bytes.data(), bytes.size()) != size)
        throw std::system_error(errno, std::generic_category(), "a file in memory");
}

PassingFile::~PassingFile() { ::close(place_->file); }

std::filesystem::path PassingFile::path() const {
    return "/proc/self/fd/" + std::to_string(place_->file);
}

int runShell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::optional<std::string> runOnTerminal(const std::string& command, int columns,
                                         const std::function<bool(const std::string&)>& enough) {
    const winsize size{.ws_row = 24,
                       .ws_col = static_cast<unsigned short>(columns),
                       .ws_xpixel = 0,
                       .ws_ypixel = 0};
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child < 0) return std::nullopt;
    if (child == 0) {
        termios settings{};
        ::tcgetattr(STDIN_FILENO, &settings);
        settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
        ::setenv("TERM", "xterm", 1);
        ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        ::_exit(127);
    }
    constexpr int kPatience = 20;  // ms
    constexpr char kCtrlC = '\x03';
    std::string all;
    bool pressed = false;
    std::array<char, 4096> buffer{};
    while (true) {
        pollfd waiting{.fd = terminal, .events = POLLIN, .revents = 0};
        if (::poll(&waiting, 1, kPatience) > 0) {
            const ssize_t got = ::read(terminal, buffer.data(), buffer.size());
            if (got <= 0) break;
            all.append(buffer.data(), static_cast<std::size_t>(got));
        }
        if (!pressed && enough(all)) pressed = ::write(terminal, &kCtrlC, 1) == 1;
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(child, &status, 0);
    return all;
}

}  // namespace vynhost::platform
