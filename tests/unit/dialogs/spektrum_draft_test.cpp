#include "dialogs/spektrum_draft.h"

#include <gtest/gtest.h>

#include <cmath>

#include "dialogs/window_rules.h"

namespace vynpack {
namespace {

TEST(SpectrumDraft, ShowsAndStoresEverySetting) {
    const TOSpektrum::Parameters before{.amplitudeType = 53,
                                        .window = 70,
                                        .correction = 1104,
                                        .windowParameter = 2.5,
                                        .phase = 1,
                                        .reserved = {}};
    const SpectrumDraft draft = draftOf(before);
    EXPECT_EQ(draft.amplitudeEntry, 3);
    EXPECT_EQ(draft.windowEntry, 6);
    EXPECT_EQ(draft.windowParameter, "2.5");
    TOSpektrum::Parameters after;
    accept(draft, after);
    EXPECT_EQ(after.amplitudeType, 53);
    EXPECT_EQ(after.window, 70);
    EXPECT_EQ(after.correction, 1104);
    EXPECT_EQ(after.windowParameter, 2.5);
    EXPECT_EQ(after.phase, 1);
}

TEST(SpectrumDraft, CountsAListWithoutSelectionAsMinusOne) {
    TOSpektrum::Parameters parameters;
    accept(SpectrumDraft{}, parameters);
    EXPECT_EQ(parameters.amplitudeType, 49);
    EXPECT_EQ(parameters.window, 63);
}

TEST(SpectrumDraft, OffersPhaseForEveryTypeButRealAndImaginaryParts) {
    for (int entry = -1; entry <= 6; ++entry) {
        SpectrumDraft draft;
        draft.amplitudeEntry = entry;
        EXPECT_EQ(draft.phaseOffered(), entry != 6);
    }
}

TEST(WindowRules, FollowTheWindow) {
    for (int window = 63; window <= 80; ++window) {
        EXPECT_EQ(windowTakesCorrection(window), window != 64 && window != 65) << window;
        EXPECT_EQ(windowTakesParameter(window),
                  window == 70 || window == 76 || window == 77 || window == 78)
            << window;
    }
}

TEST(WindowRules, LimitTheParameterToZeroToAHundred) {
    EXPECT_EQ(windowParameterOf("250"), 100.0);
    EXPECT_EQ(windowParameterOf("100"), 100.0);
    EXPECT_EQ(windowParameterOf("99.5"), 99.5);
    EXPECT_EQ(windowParameterOf("-3"), 0.0);
    EXPECT_FALSE(std::signbit(windowParameterOf("-0")));
    EXPECT_EQ(windowParameterOf("abc"), 0.0);
    // Twenty characters are read.
    EXPECT_EQ(windowParameterOf("0000000000000000000123"), 1.0);
}

}  // namespace
}  // namespace vynpack
