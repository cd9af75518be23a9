// Ctrl-C and its like: the run ends at its next step and leaves no half-written file behind.
#pragma once

#include <filesystem>

namespace vynhost {

// From now on an interrupt, or the wish to terminate, is noted; the second one ends the program at
// once. What ends with less (a full disk, a reader that has gone) becomes an error of the writing.
void watchInterrupts() noexcept;
// One has come since then, or since this was last asked.
bool interrupted() noexcept;

// While it lives, an interrupt that ends the program at once takes the file along.
class RemovedWhenInterrupted {
public:
    explicit RemovedWhenInterrupted(std::filesystem::path path) noexcept;
    ~RemovedWhenInterrupted();
    RemovedWhenInterrupted(const RemovedWhenInterrupted&) = delete;
    RemovedWhenInterrupted& operator=(const RemovedWhenInterrupted&) = delete;

private:
    std::filesystem::path path_;
    std::size_t slot_;
};

namespace platform {

// Defined per system: calls `note` for the signals that ask a program to end, and `end` before the
// system ends it without asking.
void watchEndings(void (*note)(int signal), void (*end)() noexcept) noexcept;
// Allowed in a handler of signals.
void removeAtOnce(const std::filesystem::path::value_type* path) noexcept;

}  // namespace platform

}  // namespace vynhost
