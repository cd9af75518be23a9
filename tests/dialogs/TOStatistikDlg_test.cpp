#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::statistics {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kStatistik;
constexpr std::size_t kFlags = 8;
constexpr std::size_t kOutputMode = 50;

constexpr int kAllOn = 3;
constexpr int kAllOff = 4;
constexpr int kOneOutput = 1052;
constexpr int kOutputPerMeasure = 1053;
constexpr int kHelp = 1001;

// In the order of the measures; 1041 belongs to none.
const std::vector<int> kBoxes = {1030, 1031, 1032, 1033, 1034, 1035, 1036, 1037, 1038, 1039, 1040,
                                 1042, 1043, 1044, 1045, 1046, 1047, 1048, 1049, 1050, 1051};

std::vector<int> selected(const Block& block) {
    std::vector<int> found;
    for (std::size_t i = 0; i < kBoxes.size(); ++i) {
        if (block.stored<std::int16_t>(kFlags + 2 * i) != 0) found.push_back(static_cast<int>(i));
    }
    return found;
}

TEST(TOStatistikDlg, EachBoxIsOneMeasure) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kBoxes), IsEmpty());
        dialog.cancel();
    });
    for (std::size_t i = 0; i < kBoxes.size(); ++i) {
        SCOPED_TRACE(i);
        block.dialog([&](Dialog& dialog) {
            dialog.click(kAllOff);
            dialog.click(kBoxes[i]);
            dialog.ok();
        });
        EXPECT_THAT(selected(block), ElementsAre(static_cast<int>(i)));
        block.dialog([&](Dialog& dialog) {
            EXPECT_THAT(dialog.checkedOf(kBoxes), ElementsAre(kBoxes[i]));
            dialog.cancel();
        });
    }
}

TEST(TOStatistikDlg, AllOnAndAllOffReachEveryBox) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(kAllOn);
        EXPECT_EQ(dialog.checkedOf(kBoxes), kBoxes);
        dialog.click(kAllOff);
        EXPECT_THAT(dialog.checkedOf(kBoxes), IsEmpty());
        dialog.altKey('e');
        EXPECT_EQ(dialog.checkedOf(kBoxes), kBoxes);
        dialog.click(kOutputPerMeasure);
        dialog.ok();
    });
    EXPECT_EQ(selected(block).size(), 21U);
    EXPECT_EQ(block.connectors(), "E,;1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,");
}

TEST(TOStatistikDlg, TheOutputModeAndTheCountReachTheConnectors) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf({kOneOutput, kOutputPerMeasure}), ElementsAre(kOneOutput));
        dialog.click(1030);
        dialog.click(1035);
        dialog.click(1051);
        dialog.click(kOutputPerMeasure);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kOutputMode), 1053);
    EXPECT_EQ(block.connectors(), "E,;1,2,3,");
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf({kOneOutput, kOutputPerMeasure}),
                    ElementsAre(kOutputPerMeasure));
        dialog.click(kOneOutput);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kOutputMode), 1052);
    EXPECT_EQ(block.connectors(), "E,;A,");
}

TEST(TOStatistikDlg, NothingSelectedBecomesTheSumOfEachBlock) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(kAllOff);
        dialog.click(kOutputPerMeasure);
        dialog.ok();
    });
    EXPECT_THAT(selected(block), ElementsAre(0));
    EXPECT_EQ(block.connectors(), "E,;1,");
}

TEST(TOStatistikDlg, CancelLeavesTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.click(kAllOn);
        dialog.click(kOutputPerMeasure);
        dialog.click(kHelp);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.cancel();
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TOStatistikDlg, AnyFlagButZeroIsShownAndStoredAsOne) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kFlags + 4, -7);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kBoxes), ElementsAre(1032));
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kFlags + 4), 1);
}

}  // namespace
}  // namespace dialog_test::statistics
