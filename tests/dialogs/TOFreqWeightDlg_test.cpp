#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::frequency_weighting {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kFreqWeight;
constexpr std::size_t kWeighting = 8;
const std::vector<int> kCurves = {1215, 1216, 1217, 1218};

TEST(TOFreqWeightDlg, ShowsAndStoresEachCurve) {
    Block block(kTypeCode);
    for (std::int16_t stored = 0; stored < 4; ++stored) {
        for (std::int16_t chosen = 0; chosen < 4; ++chosen) {
            block.store(kWeighting, stored);
            block.dialog([&](Dialog& dialog) {
                EXPECT_THAT(dialog.checkedOf(kCurves), ElementsAre(1215 + stored));
                dialog.click(1215 + chosen);
                dialog.ok();
            });
            EXPECT_EQ(block.stored<std::int16_t>(kWeighting), chosen);
        }
    }
}

TEST(TOFreqWeightDlg, CancelLeavesTheCurve) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(1218);
        dialog.cancel();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kWeighting), 0);
}

TEST(TOFreqWeightDlg, AnUnknownCurveChecksNothingAndIsKept) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kWeighting, 9);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kCurves), IsEmpty());
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kWeighting), 9);
}

TEST(TOFreqWeightDlg, IsUsedByKeysAlone) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.key(VK_DOWN);
        EXPECT_THAT(dialog.checkedOf(kCurves), ElementsAre(1216));
        dialog.altKey('h');
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.altKey('c');
        EXPECT_THAT(dialog.checkedOf(kCurves), ElementsAre(1218));
        dialog.key(VK_RETURN);
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.stored<std::int16_t>(kWeighting), 3);
}

}  // namespace
}  // namespace dialog_test::frequency_weighting
