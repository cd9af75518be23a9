// What differs between the systems where processes are started and measured.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vynhost::platform {

// How a process has ended.
struct Ending {
    bool well = false;  // by itself, with exit code 0
    std::string text;   // "signal 11 (Segmentation fault)", "exit code 3", "no answer for 45 s"
};

// The program that is running, once more: with these words, these environment variables beside its
// own, nothing to read, and its output and errors line by line. It is ended when no line comes for
// so many seconds; the function gives the time for the next line.
Ending runSelf(const std::vector<std::string>& words,
               const std::vector<std::pair<std::string, std::string>>& environment, double patience,
               const std::function<double(const std::string& line)>& onLine);

// For a process that may crash: no core file, no box of the system's.
void crashQuietly() noexcept;

// While it lives, what is allocated may stay behind: a leak check passes over it.
class ForgivenLeak {
public:
    ForgivenLeak() noexcept;
    ~ForgivenLeak();
    ForgivenLeak(const ForgivenLeak&) = delete;
    ForgivenLeak& operator=(const ForgivenLeak&) = delete;
};

// Bytes of this process in memory; nothing where that says little (under a sanitizer).
std::optional<double> processSize();

// What this process has open; 0 where the system does not count.
struct HandleCounts {
    int kernel = 0;    // files and the like
    int user = 0;      // windows
    int graphics = 0;  // pens and the like
};
HandleCounts handleCounts();

}  // namespace vynhost::platform
