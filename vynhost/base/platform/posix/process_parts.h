// What following a process on Linux takes.
#pragma once

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string>

namespace vynhost::platform {

// What a child has written into the pipe since; empty where nothing came in that time. Nothing when
// no more comes: the child has ended, even if a process that was started from there keeps the
// pipe open.
inline std::optional<std::string> nextOutput(int pipe, ::pid_t child, int milliseconds) {
    // Asked before the pipe is, so that what the child wrote last is still read.
    siginfo_t ended{};
    const bool over =
        ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        ended.si_pid != 0;
    pollfd waiting{.fd = pipe, .events = POLLIN, .revents = 0};
    const int ready = ::poll(&waiting, 1, over ? 0 : milliseconds);
    if (ready < 0 && errno == EINTR) return std::string();
    if (ready == 0 && !over) return std::string();
    if (ready <= 0) return std::nullopt;
    std::array<char, 65536> piece{};
    const ssize_t got = ::read(pipe, piece.data(), piece.size());
    if (got < 0 && errno == EINTR) return std::string();
    if (got <= 0) return std::nullopt;
    return std::string(piece.data(), static_cast<std::size_t>(got));
}

}  // namespace vynhost::platform
