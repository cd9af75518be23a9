#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::dual_spectrum {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kDualSpektrum;

// Record offsets.
constexpr std::size_t kPhase = 10;
constexpr std::size_t kCoherence = 12;
constexpr std::size_t kQuantity = 14;
constexpr std::size_t kTransferType = 16;
constexpr std::size_t kAmplitudeType = 18;
constexpr std::size_t kAverageType = 20;
constexpr std::size_t kAverageSource = 22;
constexpr std::size_t kWindow = 24;
constexpr std::size_t kCorrection = 26;
constexpr std::size_t kParameter = 28;
constexpr std::size_t kResetMode = 36;
constexpr std::size_t kResetCount = 38;
constexpr std::size_t kDataOnReset = 42;
constexpr std::size_t kFactor = 44;

enum Control {
    amplitudeList = 1133,
    cross = 1118,
    transfer = 1119,
    transferList = 1130,
    phaseBox = 1101,
    coherenceBox = 1117,
    windowList = 1100,
    parameterEdit = 1113,
    parameterArrows = 1112,
    averageTypeList = 1137,
    averageSourceList = 1138,
    factorEdit = 1063,
    factorArrows = 1072,
    resetNever = 1013,
    resetByTrigger = 1014,
    resetByCount = 1015,
    countEdit = 1018,
    countArrows = 1079,
    dataOnResetBox = 1153,
    help = 1107,
};
const std::vector<int> kResets = {resetNever, resetByTrigger, resetByCount};
const std::vector<int> kCorrections = {1102, 1103, 1104};
const std::vector<int> kCorrectionControls = {1106, 1102, 1103, 1104};
const std::vector<int> kParameterControls = {1113, 1114, 1112};
const std::vector<int> kFactorControls = {1063, 1067, 1072};
const std::vector<int> kCountControls = {1018, 1079};

int word(const Block& block, std::size_t offset) { return block.stored<std::uint16_t>(offset); }

std::vector<int> allIf(bool condition, const std::vector<int>& controls) {
    return condition ? controls : std::vector<int>{};
}

TEST(TODualSpektrumDlg, ShowsTheBlocksSettings) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kPhase, 1);
    block.store<std::uint16_t>(kCoherence, 1);
    block.store<std::uint16_t>(kQuantity, 1119);
    block.store<std::uint16_t>(kTransferType, 92);
    block.store<std::uint16_t>(kAmplitudeType, 53);
    block.store<std::uint16_t>(kAverageType, 83);
    block.store<std::uint16_t>(kAverageSource, 89);
    block.store<std::uint16_t>(kWindow, 76);
    block.store<std::uint16_t>(kCorrection, 1104);
    block.store<double>(kParameter, 2.5);
    block.store<std::uint16_t>(kResetMode, 1015);
    block.store<std::int32_t>(kResetCount, 1234567);
    block.store<std::uint16_t>(kDataOnReset, 1);
    block.store<double>(kFactor, 0.25);
    block.dialog([](Dialog& dialog) {
        EXPECT_TRUE(dialog.checked(phaseBox));
        EXPECT_TRUE(dialog.checked(coherenceBox));
        EXPECT_THAT(dialog.checkedOf({cross, transfer}), ElementsAre(transfer));
        EXPECT_THAT(dialog.entries(transferList),
                    ElementsAre("Spektrum H0", "Spektrum H1", "Spektrum H2"));
        EXPECT_EQ(dialog.selection(transferList), 2);
        EXPECT_THAT(dialog.entries(amplitudeList),
                    ElementsAre("Peak", "RMS", "Powerspektrum", "Powerspektrumdensity",
                                "Autospektrum", "Real / Imaginärteil"));
        EXPECT_EQ(dialog.selection(amplitudeList), 3);
        // Minimum and maximum stand crossed, so that 83 shows what it computes.
        EXPECT_THAT(dialog.entries(averageTypeList),
                    ElementsAre("keine Mittelung", "arithmetisch", "exponentiell", "Peak Min",
                                "Peak Max.", "Gewichtet"));
        EXPECT_EQ(dialog.selection(averageTypeList), 3);
        EXPECT_THAT(dialog.entries(averageSourceList), ElementsAre("Amplitude", "Autospektrum"));
        EXPECT_EQ(dialog.selection(averageSourceList), 1);
        EXPECT_EQ(dialog.entries(windowList).size(), 16U);
        EXPECT_EQ(dialog.selection(windowList), 12);
        EXPECT_THAT(dialog.checkedOf(kCorrections), ElementsAre(1104));
        EXPECT_EQ(dialog.text(parameterEdit), "2.5");
        EXPECT_THAT(dialog.checkedOf(kResets), ElementsAre(resetByCount));
        EXPECT_EQ(dialog.text(countEdit), "1234567");
        EXPECT_TRUE(dialog.checked(dataOnResetBox));
        EXPECT_EQ(dialog.text(factorEdit), "0.25");
        dialog.cancel();
    });
}

TEST(TODualSpektrumDlg, OkStoresEverySetting) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.choose(amplitudeList, 4);
        dialog.click(phaseBox);
        dialog.click(coherenceBox);
        dialog.click(transfer);
        dialog.choose(transferList, 1);
        dialog.choose(windowList, 14);
        dialog.type(parameterEdit, "12.5");
        dialog.click(1103);
        dialog.choose(averageTypeList, 5);
        dialog.choose(averageSourceList, 1);
        dialog.type(factorEdit, "3.5");
        dialog.click(resetByCount);
        dialog.type(countEdit, "77");
        dialog.click(dataOnResetBox);
        dialog.click(help);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(word(block, kPhase), 1);
    EXPECT_EQ(word(block, kCoherence), 1);
    EXPECT_EQ(word(block, kQuantity), 1119);
    EXPECT_EQ(word(block, kTransferType), 91);
    EXPECT_EQ(word(block, kAmplitudeType), 54);
    EXPECT_EQ(word(block, kAverageType), 85);
    EXPECT_EQ(word(block, kAverageSource), 89);
    EXPECT_EQ(word(block, kWindow), 78);
    EXPECT_EQ(word(block, kCorrection), 1103);
    EXPECT_EQ(block.stored<double>(kParameter), 12.5);
    EXPECT_EQ(word(block, kResetMode), 1015);
    EXPECT_EQ(block.stored<std::int32_t>(kResetCount), 77);
    EXPECT_EQ(word(block, kDataOnReset), 1);
    // The factor is taken as typed.
    EXPECT_EQ(block.stored<double>(kFactor), 3.5);
    block.dialog([](Dialog& dialog) {
        dialog.click(cross);
        dialog.click(resetByTrigger);
        dialog.ok();
    });
    EXPECT_EQ(word(block, kQuantity), 1118);
    EXPECT_EQ(word(block, kResetMode), 1014);
}

TEST(TODualSpektrumDlg, CancelLeavesTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    block.dialog([](Dialog& dialog) {
        dialog.choose(amplitudeList, 4);
        dialog.click(transfer);
        dialog.cancel();
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TODualSpektrumDlg, TheCrossedListStoresMinimumAs83AndMaximumAs84) {
    const Block block(kTypeCode);
    for (const int entry : {3, 4}) {
        block.dialog([&](Dialog& dialog) {
            dialog.choose(averageTypeList, entry);
            dialog.ok();
        });
        EXPECT_EQ(word(block, kAverageType), 80 + entry);
    }
}

TEST(TODualSpektrumDlg, OpeningRewritesRealAndImaginaryPartsAndOnlyOkRestoresThem) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kAmplitudeType, 56);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(amplitudeList), 5);
        EXPECT_FALSE(dialog.enabled(phaseBox));
        dialog.cancel();
    });
    EXPECT_EQ(word(block, kAmplitudeType), 55);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(amplitudeList), 5);
        dialog.ok();
    });
    EXPECT_EQ(word(block, kAmplitudeType), 56);
}

TEST(TODualSpektrumDlg, UnselectedListsStoreTheIdsBeforeTheirFirst) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kAmplitudeType, 57);
    block.store<std::uint16_t>(kAverageType, 86);
    block.store<std::uint16_t>(kAverageSource, 90);
    block.store<std::uint16_t>(kTransferType, 93);
    block.store<std::uint16_t>(kWindow, 80);
    block.dialog([](Dialog& dialog) {
        for (const int list :
             {amplitudeList, averageTypeList, averageSourceList, transferList, windowList}) {
            EXPECT_EQ(dialog.selection(list), -1) << list;
        }
        dialog.ok();
    });
    EXPECT_EQ(word(block, kAmplitudeType), 49);
    EXPECT_EQ(word(block, kAverageType), 79);
    EXPECT_EQ(word(block, kAverageSource), 87);
    EXPECT_EQ(word(block, kTransferType), 89);
    EXPECT_EQ(word(block, kWindow), 63);
}

TEST(TODualSpektrumDlg, OnlyTheTransferFunctionOffersItsType) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_FALSE(dialog.enabled(transferList));
        dialog.click(transfer);
        EXPECT_TRUE(dialog.enabled(transferList));
        dialog.click(cross);
        EXPECT_FALSE(dialog.enabled(transferList));
        dialog.cancel();
    });
}

TEST(TODualSpektrumDlg, TheListsDecideWhatIsOffered) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        for (int entry = 0; entry < 16; ++entry) {
            SCOPED_TRACE(entry);
            dialog.choose(windowList, entry);
            EXPECT_EQ(dialog.enabledOf(kCorrectionControls), allIf(entry > 1, kCorrectionControls));
            EXPECT_EQ(dialog.enabledOf(kParameterControls),
                      allIf(entry == 6 || (entry >= 12 && entry <= 14), kParameterControls));
        }
        for (int entry = 0; entry < 6; ++entry) {
            SCOPED_TRACE(entry);
            dialog.choose(averageTypeList, entry);
            EXPECT_EQ(dialog.enabledOf(kFactorControls), allIf(entry == 5, kFactorControls));
            dialog.choose(amplitudeList, entry);
            EXPECT_EQ(dialog.enabled(phaseBox), entry != 5);
        }
        dialog.cancel();
    });
}

TEST(TODualSpektrumDlg, TheResetDecidesAboutCountAndResultBlock) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.enabledOf(kCountControls), IsEmpty());
        EXPECT_FALSE(dialog.enabled(dataOnResetBox));
        for (const int reset : {resetByCount, resetByTrigger, resetByCount, resetNever}) {
            SCOPED_TRACE(reset);
            dialog.click(reset);
            EXPECT_EQ(dialog.enabledOf(kCountControls),
                      allIf(reset == resetByCount, kCountControls));
            EXPECT_EQ(dialog.enabled(dataOnResetBox), reset != resetNever);
        }
        dialog.cancel();
    });
}

TEST(TODualSpektrumDlg, ArrowsStepWithinTheirRanges) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        const auto steps = [&](int arrows, int edit, const char* from, Arrow arrow) {
            dialog.type(edit, from);
            dialog.clickArrow(arrows, arrow);
            return dialog.text(edit);
        };
        dialog.choose(windowList, 6);
        EXPECT_EQ(steps(parameterArrows, parameterEdit, "5.5", Arrow::up), "6.5");
        EXPECT_EQ(steps(parameterArrows, parameterEdit, "1.5", Arrow::down), "1");
        EXPECT_EQ(steps(parameterArrows, parameterEdit, "99.5", Arrow::up), "100");
        dialog.choose(averageTypeList, 5);
        EXPECT_EQ(steps(factorArrows, factorEdit, "0.5", Arrow::up), "0.51");
        EXPECT_EQ(steps(factorArrows, factorEdit, "0.5", Arrow::down), "0.49");
        EXPECT_EQ(steps(factorArrows, factorEdit, "0.995", Arrow::up), "1");
        EXPECT_EQ(steps(factorArrows, factorEdit, "0", Arrow::down), "0");
        dialog.click(resetByCount);
        EXPECT_EQ(steps(countArrows, countEdit, "10", Arrow::up), "11");
        EXPECT_EQ(steps(countArrows, countEdit, "1", Arrow::down), "1");
        EXPECT_EQ(steps(countArrows, countEdit, "10000000", Arrow::up), "9999999");
        EXPECT_EQ(steps(countArrows, countEdit, "1000000", Arrow::up), "1e+06");
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int32_t>(kResetCount), 1000000);
}

TEST(TODualSpektrumDlg, LimitsParameterAndCount) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 70);
    block.store<std::uint16_t>(kResetMode, 1015);
    const struct {
        const char* parameter;
        double storedParameter;
        const char* count;
        std::int32_t storedCount;
    } rows[] = {{"250", 100.0, "0", 1}, {"-3", 0.0, "-5", 1}, {"x", 0.0, "x", 1}};
    for (const auto& row : rows) {
        block.dialog([&](Dialog& dialog) {
            dialog.type(parameterEdit, row.parameter);
            dialog.type(countEdit, row.count);
            dialog.ok();
        });
        EXPECT_EQ(block.stored<double>(kParameter), row.storedParameter);
        EXPECT_EQ(block.stored<std::int32_t>(kResetCount), row.storedCount);
    }
}

}  // namespace
}  // namespace dialog_test::dual_spectrum
