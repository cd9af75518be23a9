#include "dialogs/mittelwert_draft.h"

#include <gtest/gtest.h>

namespace vynpack {
namespace {

TEST(AveragingDraft, OffersByModeAndReset) {
    for (const int mode : {1054, 1055, 1056, 0}) {
        for (const int reset : {1059, 1060, 1061, 0}) {
            AveragingDraft draft;
            draft.mode = mode;
            draft.resetMode = reset;
            EXPECT_EQ(draft.reduceOffered(), mode == 1054);
            EXPECT_EQ(draft.smoothingOffered(), mode == 1055);
            EXPECT_EQ(draft.blocksOffered(), mode == 1056);
            EXPECT_EQ(draft.resetCountOffered(), reset == 1061);
            EXPECT_EQ(draft.atResetOnlyOffered(), reset != 1059);
        }
    }
}

TEST(AveragingDraft, SurvivesShowingAndStoring) {
    AvgParameters before;
    before.mode = 1056;
    before.reduceValue = 65535;
    before.weightingFactor = 0.25;
    before.resetMode = 1061;
    before.resetBlockCount = 1234567;
    before.outputMode = 0;
    AvgParameters stored;
    accept(draftOf(before), stored);
    EXPECT_EQ(stored.mode, 1056);
    EXPECT_EQ(stored.reduceValue, 65535);
    EXPECT_EQ(stored.smoothingWidth, 7);
    EXPECT_EQ(stored.weightingFactor, 0.25);
    EXPECT_EQ(stored.resetMode, 1061);
    EXPECT_EQ(stored.resetBlockCount, 1234567);
    EXPECT_EQ(stored.outputMode, 0);
}

TEST(AveragingDraft, AnyOutputModeButZeroIsShownCheckedAndStoredAsOne) {
    for (const std::int16_t mode : {1, 5, -1}) {
        AvgParameters parameters;
        parameters.outputMode = mode;
        const AveragingDraft draft = draftOf(parameters);
        EXPECT_TRUE(draft.atResetOnly) << mode;
        accept(draft, parameters);
        EXPECT_EQ(parameters.outputMode, 1);
    }
}

TEST(AveragingDraft, FindsTheFaultOfTheChosenModeOnly) {
    AvgParameters parameters;
    parameters.reduceValue = 0;
    EXPECT_EQ(faultOf(parameters), kTextReduceWidthZero);
    parameters.mode = 1055;
    EXPECT_FALSE(faultOf(parameters));
    parameters.smoothingWidth = 0;
    EXPECT_EQ(faultOf(parameters), kTextReduceWidthZero);
    parameters.mode = 1056;
    EXPECT_FALSE(faultOf(parameters));
    parameters.weightingFactor = 2.0;
    EXPECT_EQ(faultOf(parameters), kTextWeightOutOfRange);
    parameters.resetBlockCount = 0;
    parameters.resetMode = 1061;
    EXPECT_EQ(faultOf(parameters), kTextResetCountZero);
    parameters.resetMode = 1060;
    EXPECT_EQ(faultOf(parameters), kTextWeightOutOfRange);
    parameters.weightingFactor = -0.001;
    EXPECT_EQ(faultOf(parameters), kTextWeightOutOfRange);
    parameters.weightingFactor = 1.0;
    EXPECT_FALSE(faultOf(parameters));
}

TEST(AveragingDraft, StepsCountsNotBelowOne) {
    EXPECT_EQ(steppedCount("7", ScrollStep::up), "8");
    EXPECT_EQ(steppedCount("1", ScrollStep::down), "1");
    EXPECT_EQ(steppedCount("x", ScrollStep::down), "1");
    EXPECT_EQ(steppedCount("2147483647", ScrollStep::up), "2147483647");
    // Twenty characters are read.
    EXPECT_EQ(steppedCount("000000000000000000055", ScrollStep::up), "6");
}

TEST(AveragingDraft, LimitsWidthsToTheirField) {
    AveragingDraft draft;
    draft.reduceValue = std::string("65536");
    draft.smoothingWidth = std::string("-1");
    AvgParameters stored;
    accept(draft, stored);
    EXPECT_EQ(stored.reduceValue, 65535);
    EXPECT_EQ(stored.smoothingWidth, 0);
}

}  // namespace
}  // namespace vynpack
