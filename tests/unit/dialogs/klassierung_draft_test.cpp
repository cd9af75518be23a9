#include "dialogs/klassierung_draft.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vynpack {
namespace {

constexpr ClassValues kTwenty{.number = 20, .begin = -10, .end = 10, .width = 1, .range = 20};

ClassValues after(ClassValue changed, double value) {
    ClassValues values = kTwenty;
    switch (changed) {
        case ClassValue::number: values.number = value; break;
        case ClassValue::begin: values.begin = value; break;
        case ClassValue::end: values.end = value; break;
        case ClassValue::width: values.width = value; break;
        case ClassValue::range: values.range = value; break;
    }
    return consistent(values, changed);
}

ClassValues values(double number, double begin, double end, double width, double range) {
    return {.number = number, .begin = begin, .end = end, .width = width, .range = range};
}

TEST(ClassValues, FollowTheNumber) {
    EXPECT_EQ(after(ClassValue::number, 8), values(8, -10, 10, 2.5, 20));
    EXPECT_EQ(after(ClassValue::number, 0), values(1, -10, 10, 20, 20));
    EXPECT_EQ(after(ClassValue::number, -7), values(1, -10, 10, 20, 20));
}

TEST(ClassValues, FollowBeginAndEnd) {
    EXPECT_EQ(after(ClassValue::begin, 0), values(20, 0, 10, 0.5, 10));
    EXPECT_EQ(after(ClassValue::end, 30), values(20, -10, 30, 2, 40));
    // Limits in the wrong order are shown as they are; accepting refuses them.
    EXPECT_EQ(after(ClassValue::end, -20), values(20, -10, -20, -0.5, -10));
}

TEST(ClassValues, FollowTheWidth) {
    EXPECT_EQ(after(ClassValue::width, 3), values(7, -10, 11, 3, 21));
    EXPECT_EQ(after(ClassValue::width, 8), values(3, -10, 14, 8, 24));
    EXPECT_EQ(after(ClassValue::width, 50), values(1, -10, 40, 50, 50));
    EXPECT_EQ(after(ClassValue::width, 0), kTwenty);
    EXPECT_EQ(after(ClassValue::width, -4), kTwenty);
}

TEST(ClassValues, FollowTheRange) {
    EXPECT_EQ(after(ClassValue::range, 40), values(20, -10, 30, 2, 40));
    EXPECT_EQ(after(ClassValue::range, 0), kTwenty);
    EXPECT_EQ(after(ClassValue::range, -5), kTwenty);
}

TEST(ClassValues, KeepACountThatFitsForExtremeWidths) {
    EXPECT_EQ(after(ClassValue::width, 1e-300).number, 2147483647.0);
    ClassValues endless = kTwenty;
    endless.begin = -1.7e308;
    endless.end = 1.7e308;
    endless.width = 1e-300;
    EXPECT_EQ(consistent(endless, ClassValue::width).number, 2147483647.0);
}

TEST(ClassificationDraft, EnablesByMethod) {
    for (int method = 92; method <= 99; ++method) {
        ClassificationDraft draft;
        draft.methodEntry = method - 93;
        EXPECT_EQ(draft.hysteresisOffered(), method >= 95 && method <= 98) << method;
        EXPECT_EQ(draft.referenceLineOffered(), method >= 95 && method <= 97) << method;
    }
}

TEST(ClassificationDraft, StoresTheCountOnlyWhenItResets) {
    ClassificationDraft draft;
    draft.resetBlocks = "0";
    TOKlassierung::Parameters parameters;
    parameters.resetBlocks = 9;
    draft.resetMode = 1014;
    accept(draft, parameters);
    EXPECT_EQ(parameters.resetBlocks, 9);
    draft.resetMode = 1015;
    accept(draft, parameters);
    EXPECT_EQ(parameters.resetBlocks, 1);
    EXPECT_EQ(parameters.mode, 9);
    EXPECT_EQ(parameters.method, 92);
}

TEST(ClassificationDraft, SurvivesShowingAndStoring) {
    TOKlassierung::Parameters before;
    before.resetMode = 1015;
    before.resetBlocks = 12345678;
    before.hysteresis = 2.5;
    TOKlassierung::Parameters stored;
    accept(draftOf(before), stored);
    EXPECT_EQ(stored.mode, before.mode);
    EXPECT_EQ(stored.number, before.number);
    EXPECT_EQ(stored.begin, before.begin);
    EXPECT_EQ(stored.end, before.end);
    EXPECT_EQ(stored.resetBlocks, before.resetBlocks);
    EXPECT_EQ(stored.hysteresis, before.hysteresis);
    EXPECT_EQ(stored.calculation, before.calculation);
}

TEST(ClassificationDraft, RefusesABeginNotBelowTheEnd) {
    TOKlassierung::Parameters parameters;
    EXPECT_FALSE(faultOf(parameters));
    parameters.end = parameters.begin;
    EXPECT_EQ(faultOf(parameters), kTextClassLimits);
}

TEST(ClassificationDraft, TidiesTheHysteresis) {
    EXPECT_EQ(tidyHysteresis("150"), "0");
    EXPECT_EQ(tidyHysteresis("100.0"), "100");
    EXPECT_EQ(tidyHysteresis("-0.5"), "0");
    EXPECT_EQ(tidyHysteresis("x"), "0");
}

TEST(ClassificationDraft, StepsCountsAndLimits) {
    EXPECT_EQ(steppedClassCount("9999998", ScrollStep::up), "9999999");
    EXPECT_EQ(steppedClassCount("9999999", ScrollStep::up), "9999999");
    EXPECT_EQ(steppedClassCount("1", ScrollStep::down), "1");
    EXPECT_EQ(steppedClassLimit("0.5", ScrollStep::down, 0.0), "0");
    EXPECT_EQ(steppedClassLimit("0.5", ScrollStep::up, 0.0), "1.5");
    // Six digits would show a number beyond the lowest value.
    EXPECT_EQ(steppedClassLimit("-9999999", ScrollStep::down, -9999999.0), "-9999999");
    EXPECT_EQ(steppedClassLimit("-1e+07", ScrollStep::down, -9999999.0), "-9999999");
    // Above the largest value nothing stops the edit itself.
    EXPECT_EQ(steppedClassLimit("20000000", ScrollStep::up, 0.0), "2e+07");
}

}  // namespace
}  // namespace vynpack
