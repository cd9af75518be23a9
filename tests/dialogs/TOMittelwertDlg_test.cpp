#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::averaging {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kMittelwert;

// Record offsets.
constexpr std::size_t kMode = 8;
constexpr std::size_t kReduce = 10;
constexpr std::size_t kSmooth = 12;
constexpr std::size_t kFactor = 14;
constexpr std::size_t kResetMode = 22;
constexpr std::size_t kCount = 24;
constexpr std::size_t kOutputMode = 28;

enum Control {
    reduce = 1054,
    smooth = 1055,
    blocks = 1056,
    reduceEdit = 1057,
    reduceArrows = 1070,
    smoothEdit = 1058,
    smoothArrows = 1071,
    factorEdit = 1063,
    factorArrows = 1072,
    resetNever = 1059,
    resetByTrigger = 1060,
    resetByCount = 1061,
    countEdit = 1062,
    countArrows = 1073,
    atResetOnly = 1064,
    help = 1001,
};
const std::vector<int> kModes = {reduce, smooth, blocks};
const std::vector<int> kResets = {resetNever, resetByTrigger, resetByCount};
const std::vector<int> kReduceRow = {1065, 1057, 1070};
const std::vector<int> kSmoothRow = {1066, 1058, 1071};
const std::vector<int> kBlockGroup = {1067, 1068, 1063, 1072, 1059, 1060, 1061};
const std::vector<int> kCountRow = {1069, 1062, 1073};

const Box kWidthZero =
    warning("Fehler", "Mittelung: Die Intervallbreite muß größer als Null sein!");
const Box kFactorRange =
    warning("Fehler", "Mittelung: Der Wichtungsfaktor muß im Bereich 0..1 liegen!");
const Box kCountZero =
    warning("Fehler", "Mittelung: Die Blockanzahl für Reset muß größer als Null sein!");

void refuses(Dialog& dialog, const Box& box) {
    dialog.ok();
    EXPECT_THAT(dialog.takeBoxes(), ElementsAre(box));
    EXPECT_FALSE(dialog.closed());
}

// All of the controls are enabled, or none.
bool offered(const Dialog& dialog, const std::vector<int>& controls) {
    const auto found = dialog.enabledOf(controls);
    EXPECT_TRUE(found.empty() || found == controls) << testing::PrintToString(found);
    return !found.empty();
}

TEST(TOMittelwertDlg, ShowsTheBlocksSettings) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMode, 1056);
    block.store<std::uint16_t>(kReduce, 65535);
    block.store<std::uint16_t>(kSmooth, 40000);
    block.store<double>(kFactor, 0.125);
    block.store<std::int16_t>(kResetMode, 1061);
    block.store<std::int32_t>(kCount, 1234567);
    block.store<std::int16_t>(kOutputMode, 1);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kModes), ElementsAre(blocks));
        EXPECT_EQ(dialog.text(reduceEdit), "65535");
        EXPECT_EQ(dialog.text(smoothEdit), "40000");
        EXPECT_EQ(dialog.text(factorEdit), "0.125");
        EXPECT_THAT(dialog.checkedOf(kResets), ElementsAre(resetByCount));
        EXPECT_EQ(dialog.text(countEdit), "1234567");
        EXPECT_TRUE(dialog.checked(atResetOnly));
        dialog.cancel();
    });
}

TEST(TOMittelwertDlg, OkStoresEverySetting) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.type(reduceEdit, "4");
        dialog.click(smooth);
        dialog.type(smoothEdit, "5");
        dialog.click(blocks);
        dialog.type(factorEdit, "0.75");
        dialog.click(resetByCount);
        dialog.type(countEdit, "12");
        dialog.click(atResetOnly);
        dialog.click(help);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 1056);
    EXPECT_EQ(block.stored<std::uint16_t>(kReduce), 4);
    EXPECT_EQ(block.stored<std::uint16_t>(kSmooth), 5);
    EXPECT_EQ(block.stored<double>(kFactor), 0.75);
    EXPECT_EQ(block.stored<std::int16_t>(kResetMode), 1061);
    EXPECT_EQ(block.stored<std::int32_t>(kCount), 12);
    EXPECT_EQ(block.stored<std::int16_t>(kOutputMode), 0);
}

TEST(TOMittelwertDlg, CancelLeavesTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    block.dialog([](Dialog& dialog) {
        dialog.type(reduceEdit, "4");
        dialog.click(blocks);
        dialog.click(resetByTrigger);
        dialog.cancel();
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TOMittelwertDlg, TheModeAndTheResetDecideWhatIsOffered) {
    Block block(kTypeCode);
    for (const int openingMode : kModes) {
        for (const int openingReset : kResets) {
            block.store(kMode, static_cast<std::int16_t>(openingMode));
            block.store(kResetMode, static_cast<std::int16_t>(openingReset));
            block.dialog([&](Dialog& dialog) {
                const auto expectRules = [&](int mode, int reset) {
                    SCOPED_TRACE(testing::Message() << "mode " << mode << ", reset " << reset);
                    EXPECT_EQ(offered(dialog, kReduceRow), mode == reduce);
                    EXPECT_EQ(offered(dialog, kSmoothRow), mode == smooth);
                    EXPECT_EQ(offered(dialog, kBlockGroup), mode == blocks);
                    // These follow the reset button even while its group is disabled.
                    EXPECT_EQ(offered(dialog, kCountRow), reset == resetByCount);
                    EXPECT_EQ(dialog.enabled(atResetOnly), reset != resetNever);
                };
                expectRules(openingMode, openingReset);
                for (const int mode : kModes) {
                    dialog.click(mode);
                    expectRules(mode, openingReset);
                }
                dialog.click(blocks);
                for (const int reset : kResets) {
                    dialog.click(reset);
                    expectRules(blocks, reset);
                    dialog.click(reduce);
                    expectRules(reduce, reset);
                    dialog.click(blocks);
                }
                dialog.cancel();
            });
        }
    }
}

TEST(TOMittelwertDlg, ArrowsStepWithinTheirLimits) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        const auto steps = [&](int arrows, int edit, const char* from, Arrow arrow) {
            dialog.type(edit, from);
            dialog.clickArrow(arrows, arrow);
            return dialog.text(edit);
        };
        const auto countSteps = [&](int arrows, int edit) {
            EXPECT_EQ(steps(arrows, edit, "7", Arrow::up), "8");
            EXPECT_EQ(steps(arrows, edit, "7", Arrow::down), "6");
            EXPECT_EQ(steps(arrows, edit, "1", Arrow::down), "1");
            EXPECT_EQ(steps(arrows, edit, "-5", Arrow::up), "1");
            EXPECT_EQ(steps(arrows, edit, "x", Arrow::up), "1");
        };
        countSteps(reduceArrows, reduceEdit);
        dialog.click(smooth);
        countSteps(smoothArrows, smoothEdit);
        dialog.click(blocks);
        dialog.click(resetByCount);
        countSteps(countArrows, countEdit);
        EXPECT_EQ(steps(factorArrows, factorEdit, "0.5", Arrow::up), "0.51");
        EXPECT_EQ(steps(factorArrows, factorEdit, "0.5", Arrow::down), "0.49");
        EXPECT_EQ(steps(factorArrows, factorEdit, "1", Arrow::up), "1");
        EXPECT_EQ(steps(factorArrows, factorEdit, "0", Arrow::down), "0");
        dialog.cancel();
    });
}

TEST(TOMittelwertDlg, AWidthOfZeroIsRefused) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.type(reduceEdit, "0");
        refuses(dialog, kWidthZero);
        dialog.click(smooth);
        dialog.type(smoothEdit, "x");
        refuses(dialog, kWidthZero);
        dialog.cancel();
    });
}

TEST(TOMittelwertDlg, TheCountIsCheckedBeforeTheFactor) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(blocks);
        dialog.click(resetByCount);
        dialog.type(countEdit, "0");
        dialog.type(factorEdit, "2");
        refuses(dialog, kCountZero);
        dialog.click(resetByTrigger);
        refuses(dialog, kFactorRange);
        dialog.type(factorEdit, "-0.01");
        refuses(dialog, kFactorRange);
        dialog.type(factorEdit, "1");
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
}

TEST(TOMittelwertDlg, WhatWasRefusedStaysInTheBlockAfterCancel) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(smooth);
        dialog.type(smoothEdit, "0");
        refuses(dialog, kWidthZero);
        dialog.cancel();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 1055);
    EXPECT_EQ(block.stored<std::uint16_t>(kSmooth), 0);
}

TEST(TOMittelwertDlg, AWidthBeyondTheFieldIsStoredAsTheLargest) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.type(reduceEdit, "65536");
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.stored<std::uint16_t>(kReduce), 65535);
}

}  // namespace
}  // namespace dialog_test::averaging
