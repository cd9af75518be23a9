#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::classification {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kKlassierung;

// Record offsets.
constexpr std::size_t kMode = 8;
constexpr std::size_t kNumber = 12;
constexpr std::size_t kBegin = 16;
constexpr std::size_t kEnd = 24;
constexpr std::size_t kWidth = 32;
constexpr std::size_t kRange = 40;
constexpr std::size_t kResetMode = 48;
constexpr std::size_t kResetBlocks = 52;
constexpr std::size_t kCalculation = 56;
constexpr std::size_t kMethod = 58;
constexpr std::size_t kReferenceLine = 64;
constexpr std::size_t kHysteresis = 72;

enum Control {
    modeList = 1012,
    numberEdit = 1007,
    numberArrows = 1076,
    beginEdit = 1008,
    beginArrows = 1077,
    endEdit = 1011,
    endArrows = 1078,
    widthEdit = 1009,
    widthArrows = 1074,
    rangeEdit = 1010,
    rangeArrows = 1075,
    methodList = 1130,
    hysteresisEdit = 1156,
    referenceEdit = 1158,
    relative = 1016,
    absolute = 1017,
    resetNever = 1013,
    resetByTrigger = 1014,
    resetByCount = 1015,
    countEdit = 1018,
    countArrows = 1079,
    help = 1001,
};
const std::vector<int> kLimits = {1008, 1011, 1009, 1010, 1077, 1078, 1074, 1075};
const std::vector<int> kResets = {resetNever, resetByTrigger, resetByCount};
const std::vector<int> kCountControls = {countEdit, countArrows};

// Number, begin, end, width and range, as shown.
std::vector<std::string> classValues(const Dialog& dialog) {
    return {dialog.text(numberEdit), dialog.text(beginEdit), dialog.text(endEdit),
            dialog.text(widthEdit), dialog.text(rangeEdit)};
}

void chooseManual(Dialog& dialog) { dialog.choose(modeList, 1); }

TEST(TOKlassierungDlg, ShowsTheBlocksSettings) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMode, 11);
    block.store<std::int32_t>(kNumber, 8);
    block.store<double>(kBegin, -2.5);
    block.store<double>(kEnd, 1.5);
    block.store<double>(kWidth, 0.5);
    block.store<double>(kRange, 4.0);
    block.store<std::int16_t>(kResetMode, 1014);
    block.store<std::int32_t>(kResetBlocks, 1234567);
    block.store<std::int16_t>(kCalculation, 1017);
    block.store<std::int16_t>(kMethod, 97);
    block.store<double>(kReferenceLine, 0.125);
    block.store<double>(kHysteresis, 12.5);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.entries(modeList), ElementsAre("Automatisch", "Manuell"));
        EXPECT_EQ(dialog.selection(modeList), 1);
        EXPECT_THAT(
            dialog.entries(methodList),
            ElementsAre("Stichprobe", "Verweildauer", "Klassendurchgang", "Spitzenwertverfahren1",
                        "spitzenwertverfahren2", "Spitzenwertverfahren3"));
        EXPECT_EQ(dialog.selection(methodList), 4);
        EXPECT_THAT(classValues(dialog), ElementsAre("8", "-2.5", "1.5", "0.5", "4"));
        EXPECT_THAT(dialog.checkedOf({relative, absolute}), ElementsAre(absolute));
        EXPECT_THAT(dialog.checkedOf(kResets), ElementsAre(resetByTrigger));
        EXPECT_EQ(dialog.text(countEdit), "1234567");
        EXPECT_EQ(dialog.text(hysteresisEdit), "12.5");
        EXPECT_EQ(dialog.text(referenceEdit), "0.125");
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, OkStoresEverySetting) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        dialog.enter(numberEdit, "10");
        dialog.enter(beginEdit, "-5");
        dialog.enter(endEdit, "20");
        dialog.choose(methodList, 2);
        dialog.enter(hysteresisEdit, "5.5");
        dialog.enter(referenceEdit, "1.25");
        dialog.click(absolute);
        dialog.click(resetByCount);
        dialog.type(countEdit, "17");
        dialog.click(help);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 11);
    EXPECT_EQ(block.stored<std::int32_t>(kNumber), 10);
    EXPECT_EQ(block.stored<double>(kBegin), -5.0);
    EXPECT_EQ(block.stored<double>(kEnd), 20.0);
    EXPECT_EQ(block.stored<double>(kWidth), 2.5);
    EXPECT_EQ(block.stored<double>(kRange), 25.0);
    EXPECT_EQ(block.stored<std::int16_t>(kResetMode), 1015);
    EXPECT_EQ(block.stored<std::int32_t>(kResetBlocks), 17);
    EXPECT_EQ(block.stored<std::int16_t>(kCalculation), 1017);
    EXPECT_EQ(block.stored<std::int16_t>(kMethod), 95);
    EXPECT_EQ(block.stored<double>(kReferenceLine), 1.25);
    EXPECT_EQ(block.stored<double>(kHysteresis), 5.5);
    block.dialog([](Dialog& dialog) {
        dialog.click(relative);
        dialog.click(resetNever);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kCalculation), 1016);
    EXPECT_EQ(block.stored<std::int16_t>(kResetMode), 1013);
}

TEST(TOKlassierungDlg, CancelLeavesTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        dialog.enter(endEdit, "20");
        dialog.click(absolute);
        dialog.cancel();
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TOKlassierungDlg, TheModeDecidesAboutTheLimits) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.enabledOf(kLimits), IsEmpty());
        EXPECT_TRUE(dialog.enabled(numberEdit) && dialog.enabled(numberArrows));
        chooseManual(dialog);
        EXPECT_EQ(dialog.enabledOf(kLimits), kLimits);
        dialog.choose(modeList, 0);
        EXPECT_THAT(dialog.enabledOf(kLimits), IsEmpty());
        EXPECT_TRUE(dialog.enabled(numberEdit) && dialog.enabled(numberArrows));
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, TheMethodDecidesAboutHysteresisAndReferenceLine) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        for (int entry = 0; entry < 6; ++entry) {
            SCOPED_TRACE(entry);
            dialog.choose(methodList, entry);
            EXPECT_EQ(dialog.enabled(hysteresisEdit), entry >= 2);
            EXPECT_EQ(dialog.enabled(referenceEdit), entry >= 2 && entry <= 4);
        }
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, OnlyTheResetByCountOffersTheCount) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.enabledOf(kCountControls), IsEmpty());
        dialog.click(resetByCount);
        EXPECT_EQ(dialog.enabledOf(kCountControls), kCountControls);
        dialog.click(resetByTrigger);
        EXPECT_THAT(dialog.enabledOf(kCountControls), IsEmpty());
        dialog.click(resetByCount);
        dialog.click(resetNever);
        EXPECT_THAT(dialog.enabledOf(kCountControls), IsEmpty());
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, ValuesFollowEachOtherWhenAnEditIsLeft) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-10", "10", "1", "20"));
        dialog.enter(widthEdit, "3");
        EXPECT_THAT(classValues(dialog), ElementsAre("7", "-10", "11", "3", "21"));
        dialog.enter(rangeEdit, "14");
        EXPECT_THAT(classValues(dialog), ElementsAre("7", "-10", "4", "2", "14"));
        dialog.enter(beginEdit, "-3");
        EXPECT_THAT(classValues(dialog), ElementsAre("7", "-3", "4", "1", "7"));
        dialog.enter(endEdit, "32");
        EXPECT_THAT(classValues(dialog), ElementsAre("7", "-3", "32", "5", "35"));
        dialog.enter(numberEdit, "5");
        EXPECT_THAT(classValues(dialog), ElementsAre("5", "-3", "32", "7", "35"));
        // What counts as another value is shown as that.
        dialog.enter(widthEdit, "-2");
        EXPECT_THAT(classValues(dialog), ElementsAre("35", "-3", "32", "1", "35"));
        dialog.enter(rangeEdit, "0");
        EXPECT_THAT(classValues(dialog), ElementsAre("35", "-3", "32", "1", "35"));
        dialog.enter(numberEdit, "0");
        EXPECT_THAT(classValues(dialog), ElementsAre("1", "-3", "32", "35", "35"));
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, NothingIsRewrittenWhileTyping) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        dialog.type(widthEdit, "3.0000001");
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-10", "10", "3.0000001", "20"));
        dialog.leave();
        EXPECT_THAT(classValues(dialog), ElementsAre("7", "-10", "11", "3.0000001", "21"));
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, PassingThroughAnEditChangesNothing) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMode, 11);
    block.store<double>(kWidth, 0.75);
    block.dialog([](Dialog& dialog) {
        for (int i = 0; i < 20; ++i) {
            dialog.leave();
        }
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-10", "10", "0.75", "20"));
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, ReturnInAnEditAppliesItsRuleFirst) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        dialog.type(widthEdit, "3");
        dialog.key(VK_RETURN);
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.stored<std::int32_t>(kNumber), 7);
    EXPECT_EQ(block.stored<double>(kEnd), 11.0);
    EXPECT_EQ(block.stored<double>(kWidth), 3.0);
    EXPECT_EQ(block.stored<double>(kRange), 21.0);
}

TEST(TOKlassierungDlg, ArrowsStepAndFollowTheRules) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        dialog.clickArrow(numberArrows, Arrow::up);
        dialog.clickArrow(numberArrows, Arrow::down);
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-10", "10", "1", "20"));
        dialog.clickArrow(beginArrows, Arrow::down);
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-11", "10", "1.05", "21"));
        dialog.clickArrow(endArrows, Arrow::up);
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-11", "11", "1.1", "22"));
        dialog.clickArrow(rangeArrows, Arrow::down);
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-11", "10", "1.05", "21"));
        dialog.clickArrow(widthArrows, Arrow::up);
        EXPECT_THAT(classValues(dialog), ElementsAre("10", "-11", "9.5", "2.05", "20.5"));
        dialog.clickArrow(widthArrows, Arrow::down);
        EXPECT_THAT(classValues(dialog), ElementsAre("20", "-11", "10", "1.05", "21"));
        dialog.clickArrow(widthArrows, Arrow::down);
        EXPECT_EQ(dialog.text(widthEdit), "0.05");
        dialog.clickArrow(widthArrows, Arrow::down);
        // Not below 0, and a width of 0 counts as 1.
        EXPECT_EQ(dialog.text(widthEdit), "1");
        dialog.click(resetByCount);
        dialog.clickArrow(countArrows, Arrow::down);
        EXPECT_EQ(dialog.text(countEdit), "1");
        dialog.clickArrow(countArrows, Arrow::up);
        EXPECT_EQ(dialog.text(countEdit), "2");
        dialog.type(countEdit, "9999999");
        dialog.clickArrow(countArrows, Arrow::up);
        EXPECT_EQ(dialog.text(countEdit), "9999999");
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, ValuesStayWithinTheirRangeBelowAndExceedItAbove) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMode, 11);
    block.store<std::int32_t>(kNumber, 1);
    block.store<double>(kBegin, -9999999.0);
    block.store<double>(kEnd, 9999999.0);
    block.dialog([](Dialog& dialog) {
        dialog.clickArrow(numberArrows, Arrow::down);
        EXPECT_EQ(dialog.text(numberEdit), "1");
        dialog.type(beginEdit, "-9999999");
        dialog.clickArrow(beginArrows, Arrow::down);
        EXPECT_EQ(dialog.text(beginEdit), "-9999999");
        dialog.type(endEdit, "9999999");
        dialog.clickArrow(endArrows, Arrow::up);
        EXPECT_EQ(dialog.text(endEdit), "1e+07");
        dialog.clickArrow(endArrows, Arrow::up);
        EXPECT_EQ(dialog.text(endEdit), "1e+07");
        dialog.type(endEdit, "20000000");
        dialog.clickArrow(endArrows, Arrow::up);
        EXPECT_EQ(dialog.text(endEdit), "2e+07");
        EXPECT_EQ(::GetDlgItem(dialog.window(), 1063), nullptr);
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, HysteresisAndReferenceLineAreTidiedWhenLeft) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMethod, 95);
    block.dialog([](Dialog& dialog) {
        const auto tidied = [&](int edit, const char* text) {
            dialog.enter(edit, text);
            return dialog.text(edit);
        };
        EXPECT_EQ(tidied(hysteresisEdit, "150"), "0");
        EXPECT_EQ(tidied(hysteresisEdit, "-1"), "0");
        EXPECT_EQ(tidied(hysteresisEdit, "100"), "100");
        EXPECT_EQ(tidied(hysteresisEdit, "007.50"), "7.5");
        EXPECT_EQ(tidied(referenceEdit, "-1250.00"), "-1250");
        EXPECT_EQ(tidied(referenceEdit, "x"), "0");
        dialog.cancel();
    });
}

TEST(TOKlassierungDlg, ACountBelowOneIsStoredAsOne) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(resetByCount);
        dialog.type(countEdit, "0");
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int32_t>(kResetBlocks), 1);
}

TEST(TOKlassierungDlg, WithoutResetByCountTheCountIsNotStored) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(resetByCount);
        dialog.type(countEdit, "5");
        dialog.click(resetByTrigger);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kResetMode), 1014);
    EXPECT_EQ(block.stored<std::int32_t>(kResetBlocks), 1);
}

TEST(TOKlassierungDlg, ABeginNotBelowTheEndIsRefusedButStaysWritten) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        chooseManual(dialog);
        dialog.enter(endEdit, "-10");
        dialog.click(absolute);
        dialog.ok();
        EXPECT_THAT(dialog.takeBoxes(),
                    ElementsAre(warning("Fehler",
                                        "Parameter-Fehler: Der Klassenbeginn muß kleiner als das "
                                        "Klassenende sein!")));
        EXPECT_FALSE(dialog.closed());
        dialog.cancel();
    });
    EXPECT_EQ(block.stored<double>(kEnd), -10.0);
    EXPECT_EQ(block.stored<std::int16_t>(kCalculation), 1017);
}

TEST(TOKlassierungDlg, UnselectedListsStoreTheIdsBeforeTheirFirst) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMode, 12);
    block.store<std::int16_t>(kMethod, 99);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(modeList), -1);
        EXPECT_EQ(dialog.selection(methodList), -1);
        EXPECT_THAT(dialog.enabledOf(kLimits), IsEmpty());
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 9);
    EXPECT_EQ(block.stored<std::int16_t>(kMethod), 92);
}

}  // namespace
}  // namespace dialog_test::classification
