// How far a run is: one line of a terminal, written over again and again, gone in the end.
#pragma once

#include <chrono>
#include <ostream>
#include <string>

#include "vynhost/run/runner.h"

namespace vynhost {

class ProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    // The run begins now; `columns` is the terminal's width.
    ProgressLine(std::ostream& terminal, int columns, Clock::time_point now = Clock::now());
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Shows the position in the recording, the speed and the remaining time, as the mean speed so
    // far has it; nothing in the first second, and from then on at most four times a second.
    void show(const Runner::Progress& progress, Clock::time_point now = Clock::now());
    // Says at once what follows the data, in a run that has lasted so long that the line is there.
    void say(const std::string& what);
    void clear();

private:
    void write(std::string text);

    std::ostream& terminal_;
    std::size_t room_;  // characters; a full line would go on in the next
    Clock::time_point begin_;
    Clock::time_point next_;
    std::size_t shown_ = 0;  // characters that stand there
};

// "1:23 of 10:00 (14 %), 85 x real time, 0:06 left"
std::string progressText(const Runner::Progress& progress, double elapsedSeconds);

}  // namespace vynhost
