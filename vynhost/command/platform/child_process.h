// This very program, started once more beside itself.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vynhost::platform {

class ChildProcess {
public:
    // Starts it with these words after its name; nothing comes to its standard input. It gets its
    // own interrupts only. Raises std::runtime_error where the system can't.
    explicit ChildProcess(const std::vector<std::string>& words);
    // Must have been waited for.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    struct End {
        int code;            // 128 and above: the system has ended it
        std::string output;  // on standard output and standard error, as it came
    };
    End wait();
    // Asks it to end; from any thread.
    void interrupt() noexcept;

private:
    struct Handles;  // defined per system
    std::unique_ptr<Handles> handles_;
};

// Its file.
std::string programFile();

}  // namespace vynhost::platform
