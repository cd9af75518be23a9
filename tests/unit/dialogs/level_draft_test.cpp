#include "dialogs/level_draft.h"

#include <gtest/gtest.h>

namespace vynpack {
namespace {

LevelDraft typed(const char* blanking, const char* frequency) {
    return {.rms = true,
            .timeWeighting = 0,
            .clockPeriod = 0,
            .blankingPeriod = blanking,
            .outputFrequency = frequency};
}

TEST(LevelDraft, RefusesNumbersOutOfRange) {
    EXPECT_FALSE(faultOf(typed("0", "10")));
    EXPECT_FALSE(faultOf(typed("60", "1e300")));
    EXPECT_FALSE(faultOf(typed("x", "1e-300")));
    EXPECT_EQ(faultOf(typed("60.001", "10")), kTextBlankingPeriodRange);
    EXPECT_EQ(faultOf(typed("-0.001", "0")), kTextBlankingPeriodRange);
    EXPECT_EQ(faultOf(typed("0", "0")), kTextOutputFrequencyRange);
    EXPECT_EQ(faultOf(typed("0", "-1")), kTextOutputFrequencyRange);
    EXPECT_EQ(faultOf(typed("0", "1.1e300")), kTextOutputFrequencyRange);
}

TEST(LevelDraft, SurvivesShowingAndStoring) {
    TOLevel::Parameters before;
    before.rms = 5;
    before.timeWeighting = 2;
    before.clockPeriod = 2;
    before.blankedSeconds = 7.5;
    before.outputFrequency = 0.5;
    TOLevel::Parameters stored;
    accept(draftOf(before), stored);
    EXPECT_EQ(stored.rms, 1);
    EXPECT_EQ(stored.timeWeighting, 2);
    EXPECT_EQ(stored.clockPeriod, 2);
    EXPECT_EQ(stored.blankedSeconds, 7.5);
    EXPECT_EQ(stored.outputFrequency, 0.5);
}

}  // namespace
}  // namespace vynpack
