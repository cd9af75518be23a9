#include "dialogs/dual_spektrum_draft.h"

#include <gtest/gtest.h>

namespace vynpack {
namespace {

TEST(DualSpectrumDraft, RewritesRealAndImaginaryPartsOnly) {
    for (int type = 50; type <= 57; ++type) {
        TODualSpektrum::Parameters parameters;
        parameters.amplitudeType = static_cast<std::uint16_t>(type);
        rewriteForDialog(parameters);
        EXPECT_EQ(parameters.amplitudeType, type == 56 ? 55 : type);
    }
}

TEST(DualSpectrumDraft, StoresTheSixthAmplitudeAsRealAndImaginaryParts) {
    for (int entry = -1; entry <= 5; ++entry) {
        DualSpectrumDraft draft;
        draft.amplitudeEntry = entry;
        TODualSpektrum::Parameters stored;
        accept(draft, stored);
        EXPECT_EQ(stored.amplitudeType, entry == 5 ? 56 : entry + 50);
    }
}

TEST(DualSpectrumDraft, CountsListsWithoutSelectionAsMinusOne) {
    TODualSpektrum::Parameters stored;
    accept(DualSpectrumDraft{}, stored);
    EXPECT_EQ(stored.amplitudeType, 49);
    EXPECT_EQ(stored.averageType, 79);
    EXPECT_EQ(stored.averageSource, 87);
    EXPECT_EQ(stored.transferType, 89);
    EXPECT_EQ(stored.window, 63);
    EXPECT_EQ(stored.resetCount, 1);
}

TEST(DualSpectrumDraft, SurvivesShowingAndStoring) {
    TODualSpektrum::Parameters before;
    before.phase = 3;
    before.quantity = 1119;
    before.transferType = 92;
    before.amplitudeType = 52;
    before.averageType = 85;
    before.averageSource = 89;
    before.window = 78;
    before.correction = 1104;
    before.windowParameter = 33.5;
    before.resetMode = 1015;
    before.resetCount = 7654321;
    before.averageFactor = 1.25;
    TODualSpektrum::Parameters stored;
    accept(draftOf(before), stored);
    EXPECT_EQ(stored.phase, 1);
    EXPECT_EQ(stored.quantity, 1119);
    EXPECT_EQ(stored.transferType, 92);
    EXPECT_EQ(stored.amplitudeType, 52);
    EXPECT_EQ(stored.averageType, 85);
    EXPECT_EQ(stored.averageSource, 89);
    EXPECT_EQ(stored.window, 78);
    EXPECT_EQ(stored.correction, 1104);
    EXPECT_EQ(stored.windowParameter, 33.5);
    EXPECT_EQ(stored.resetMode, 1015);
    EXPECT_EQ(stored.resetCount, 7654321);
    EXPECT_EQ(stored.averageFactor, 1.25);
}

}  // namespace
}  // namespace vynpack
