#include "dialogs/statistik_draft.h"

#include <gtest/gtest.h>

namespace vynpack {
namespace {

TEST(StatisticsDraft, CountsWhatIsSelected) {
    StatisticsDraft draft;
    draft.selected[3] = draft.selected[20] = true;
    draft.outputMode = 1053;
    TOStatistik::Parameters parameters;
    parameters.selected[0] = 1;
    EXPECT_EQ(accept(draft, parameters), 2);
    EXPECT_EQ(parameters.selected[0], 0);
    EXPECT_EQ(parameters.selected[3], 1);
    EXPECT_EQ(parameters.selected[20], 1);
    EXPECT_EQ(parameters.outputMode, 1053);
}

TEST(StatisticsDraft, SelectsTheSumWhenNothingIsSelected) {
    TOStatistik::Parameters parameters;
    EXPECT_EQ(accept(StatisticsDraft{}, parameters), 1);
    EXPECT_EQ(parameters.selected[0], 1);
}

TEST(StatisticsDraft, ShowsAnyFlagButZero) {
    TOStatistik::Parameters parameters;
    parameters.selected[5] = -3;
    EXPECT_TRUE(draftOf(parameters).selected[5]);
    EXPECT_FALSE(draftOf(parameters).selected[4]);
}

}  // namespace
}  // namespace vynpack
