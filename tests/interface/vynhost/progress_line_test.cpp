// The line that says how far a run is.
#include "vynhost/command/progress_line.h"

#include <gmock/gmock.h>

#include <sstream>

namespace vynhost::test {
namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;

TEST(ProgressLineTest, SaysPositionSpeedAndRemainingTime) {
    EXPECT_EQ(progressText({83, 600}, 1), "1:23 of 10:00 (13 %), 83 x real time, 0:06 left");
    EXPECT_EQ(progressText({0, 600}, 2), "0:00 of 10:00 (0 %)");
    EXPECT_EQ(progressText({1800, 7384}, 600),
              "30:00 of 2:03:04 (24 %), 3 x real time, 31:01 left");
    EXPECT_EQ(progressText({2, 4}, 8), "0:02 of 0:04 (50 %), 0.25 x real time, 0:08 left");
    EXPECT_EQ(progressText({3600, 3600}, 2.5),
              "1:00:00 of 1:00:00 (100 %), 1440 x real time, "
              "0:00 left");
}

class OnTerminal : public ::testing::Test {
protected:
    const ProgressLine::Clock::time_point begin{};
    std::ostringstream terminal;
};

TEST_F(OnTerminal, NothingIsShownOfAShortRun) {
    {
        ProgressLine line(terminal, 80, begin);
        for (auto after = 0ms; after < 1s; after += 10ms)
            line.show({1, 10}, begin + after);
        line.say("writing the results");
    }
    EXPECT_THAT(terminal.str(), IsEmpty());
}

TEST_F(OnTerminal, ItIsWrittenAtMostFourTimesASecond) {
    ProgressLine line(terminal, 80, begin);
    for (auto after = 0ms; after <= 3s; after += 1ms)
        line.show({1, 10}, begin + after);
    const std::string shown = terminal.str();
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\r'), 9);  // from 1 s to 3 s
}

TEST_F(OnTerminal, ItIsWrittenOverAndClearedInTheEnd) {
    ProgressLine line(terminal, 80, begin);
    line.show({1, 10}, begin + 1s);
    line.say("writing");
    line.clear();
    line.clear();
    const std::string first = "0:01 of 0:10 (10 %), 1 x real time, 0:09 left";
    EXPECT_EQ(terminal.str(), "\r" + first + "\rwriting" + std::string(first.size() - 7, ' ') +
                                  "\r" + std::string(7, ' ') + "\r");
}

TEST_F(OnTerminal, ItNeverReachesTheNextLine) {
    ProgressLine line(terminal, 10, begin);
    line.show({1, 10}, begin + 1s);
    EXPECT_EQ(terminal.str(), "\r0:01 of 0");
}

TEST_F(OnTerminal, WhatHasNoLengthIsNotShown) {
    ProgressLine line(terminal, 80, begin);
    line.show({0, 0}, begin + 2s);
    EXPECT_THAT(terminal.str(), IsEmpty());
}

}  // namespace
}  // namespace vynhost::test
