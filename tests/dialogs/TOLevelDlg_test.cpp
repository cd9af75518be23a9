#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::level {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kLevel;

// Record offsets.
constexpr std::size_t kSignalType = 8;
constexpr std::size_t kTimeWeighting = 10;
constexpr std::size_t kClockPeriod = 12;
constexpr std::size_t kBlanking = 14;
constexpr std::size_t kFrequency = 22;

enum Control {
    peak = 1220,
    rms = 1221,
    blankingEdit = 1239,
    blankingArrows = 1240,
    frequencyEdit = 1236,
    frequencyArrows = 1237,
    help = 1001,
};
const std::vector<int> kTimeWeightings = {1223, 1224, 1225};
const std::vector<int> kTimeWeightingControls = {1262, 1223, 1224, 1225};
const std::vector<int> kClockPeriods = {1227, 1228, 1229};

const Box kBlankingFault = warning(
    "Fehler!",
    "Fehler!\nDer angegebene Wert für den Ausblendezeitraum liegt\n außerhalb der vorgegebenen "
    "Grenzen von\n 0 s <= t <= 60 s");
const Box kFrequencyFault = warning(
    "Fehler!",
    "Fehler!\nDer angegebene Wert fuer die Ausgabefrequenz liegt\n außerhalb der vorgegebenen "
    "Grenzen von\n 0 Hz < f <= 1.0E(+300) Hz");

TEST(TOLevelDlg, ShowsTheBlocksSettings) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kSignalType, 1);
    block.store<std::int16_t>(kTimeWeighting, 2);
    block.store<std::int16_t>(kClockPeriod, 0);
    block.store<double>(kBlanking, 12.5);
    block.store<double>(kFrequency, 0.25);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf({peak, rms}), ElementsAre(rms));
        EXPECT_THAT(dialog.checkedOf(kTimeWeightings), ElementsAre(1225));
        EXPECT_THAT(dialog.checkedOf(kClockPeriods), ElementsAre(1227));
        EXPECT_EQ(dialog.text(blankingEdit), "12.5");
        EXPECT_EQ(dialog.text(frequencyEdit), "0.25");
        dialog.cancel();
    });
}

TEST(TOLevelDlg, OkStoresEverySetting) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.click(rms);
        dialog.click(1224);
        dialog.click(1229);
        dialog.type(blankingEdit, "60");
        dialog.type(frequencyEdit, "1e300");
        dialog.click(help);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.stored<std::int16_t>(kSignalType), 1);
    EXPECT_EQ(block.stored<std::int16_t>(kTimeWeighting), 1);
    EXPECT_EQ(block.stored<std::int16_t>(kClockPeriod), 2);
    EXPECT_EQ(block.stored<double>(kBlanking), 60.0);
    EXPECT_EQ(block.stored<double>(kFrequency), 1e300);
    block.dialog([](Dialog& dialog) {
        dialog.click(1223);
        dialog.click(1228);
        dialog.click(peak);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kSignalType), 0);
    EXPECT_EQ(block.stored<std::int16_t>(kTimeWeighting), 0);
    EXPECT_EQ(block.stored<std::int16_t>(kClockPeriod), 1);
}

TEST(TOLevelDlg, OnlyRmsOffersTheTimeWeighting) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kSignalType, 0);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.enabledOf(kTimeWeightingControls), IsEmpty());
        dialog.click(rms);
        EXPECT_EQ(dialog.enabledOf(kTimeWeightingControls), kTimeWeightingControls);
        dialog.click(peak);
        EXPECT_THAT(dialog.enabledOf(kTimeWeightingControls), IsEmpty());
        dialog.cancel();
    });
}

TEST(TOLevelDlg, ArrowsStepWithinTheLimits) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        const auto steps = [&](int arrows, int edit, const char* from, Arrow arrow) {
            dialog.type(edit, from);
            dialog.clickArrow(arrows, arrow);
            return dialog.text(edit);
        };
        EXPECT_EQ(steps(blankingArrows, blankingEdit, "5", Arrow::up), "6");
        EXPECT_EQ(steps(blankingArrows, blankingEdit, "5", Arrow::down), "4");
        EXPECT_EQ(steps(blankingArrows, blankingEdit, "59.5", Arrow::up), "60");
        EXPECT_EQ(steps(blankingArrows, blankingEdit, "0.5", Arrow::down), "0");
        EXPECT_EQ(steps(frequencyArrows, frequencyEdit, "10", Arrow::up), "11");
        EXPECT_EQ(steps(frequencyArrows, frequencyEdit, "10", Arrow::down), "9");
        EXPECT_EQ(steps(frequencyArrows, frequencyEdit, "1", Arrow::down), "1e-06");
        EXPECT_EQ(steps(frequencyArrows, frequencyEdit, "2e300", Arrow::up), "1e+300");
        dialog.cancel();
    });
}

TEST(TOLevelDlg, RefusesWhatIsOutOfRangeAndStoresNothing) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    block.dialog([](Dialog& dialog) {
        const auto refuses = [&](const Box& box) {
            dialog.ok();
            EXPECT_THAT(dialog.takeBoxes(), ElementsAre(box));
            EXPECT_FALSE(dialog.closed());
        };
        dialog.click(1229);
        for (const char* text : {"61", "-0.5", "60.0001"}) {
            dialog.type(blankingEdit, text);
            refuses(kBlankingFault);
        }
        dialog.type(blankingEdit, "abc");
        for (const char* text : {"0", "-1", "x", "1.1e300", "1e999"}) {
            dialog.type(frequencyEdit, text);
            refuses(kFrequencyFault);
        }
        dialog.cancel();
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TOLevelDlg, UnknownChoicesCheckNothingAndAreKept) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kTimeWeighting, 7);
    block.store<std::int16_t>(kClockPeriod, -1);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kTimeWeightings), IsEmpty());
        EXPECT_THAT(dialog.checkedOf(kClockPeriods), IsEmpty());
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kTimeWeighting), 7);
    EXPECT_EQ(block.stored<std::int16_t>(kClockPeriod), -1);
}

}  // namespace
}  // namespace dialog_test::level
