#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::digital_filter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kDigitalFilter;

// Record offsets.
constexpr std::size_t kFir = 8;
constexpr std::size_t kMode = 12;
constexpr std::size_t kCutoff = 14;
constexpr std::size_t kUpper = 22;
constexpr std::size_t kLower = 30;
constexpr std::size_t kWindow = 38;
constexpr std::size_t kLength = 40;
constexpr std::size_t kKaiser = 44;
constexpr std::size_t kCharacteristic = 48;
constexpr std::size_t kRipple = 50;
constexpr std::size_t kAttenuation = 58;
constexpr std::size_t kOrder = 66;

// Controls.
enum Control {
    firButton = 1264,
    iirButton = 1265,
    windowList = 1130,
    lengthEdit = 1272,
    lengthArrows = 1273,
    kaiserBox = 1274,
    characteristicList = 1131,
    orderEdit = 1303,
    orderArrows = 1306,
    rippleEdit = 1280,
    rippleArrows = 1281,
    attenuationEdit = 1282,
    attenuationArrows = 1283,
    lowPass = 1287,
    highPass = 1290,
    bandPass = 1291,
    bandStop = 1292,
    cutoffEdit = 1293,
    cutoffArrows = 1294,
    lowerEdit = 1295,
    lowerArrows = 1296,
    upperEdit = 1297,
    upperArrows = 1298,
    help = 1256,
};
const std::vector<int> kFirControls = {1266, 1272, 1273, 1274, 1130, 1284, 1304};
const std::vector<int> kIirControls = {1288, 1305, 1131, 1302, 1303, 1306};
const std::vector<int> kRippleControls = {1285, 1280, 1281};
const std::vector<int> kAttenuationControls = {1286, 1282, 1283};
const std::vector<int> kCutoffControls = {1299, 1293, 1294};
const std::vector<int> kEdgeControls = {1300, 1295, 1296, 1301, 1297, 1298};
const std::vector<int> kModes = {lowPass, highPass, bandPass, bandStop};

enum Entry { butterworth, chebyshev, elliptic, inverseChebyshev, bessel };

Box fault(const char* text) { return warning("Fehler!", text); }

const Box kEdgesCrossed =
    fault("Fehler !\nDie untere Grenzfrequenz ist größer als die obere Grenzfrequenz.");
const Box kRippleChebyshev =
    fault("Fehler !\nDie Welligkeit beim Chebyshev-Filter darf nicht 0dB betragen.");
const Box kRippleElliptic =
    fault("Fehler !\nDie Welligkeit beim elliptischen Filter darf nicht 0dB betragen.");
const Box kRippleAboveAttenuation = fault(
    "Fehler !\nBeim elliptischen Filter darf die Welligkeit nicht größer\nals die Dämpfung sein.");
const Box kAttenuationZero =
    fault("Fehler !\nDie Dämpfung beim inversen Chebyshev-Filter darf nicht 0dB betragen.");
const Box kLengthInvalid = fault(
    "Fehler!\nDie Fensterlänge ist ungültig.\nBitte geben Sie einen Wert an,\n der eine ungerade, "
    "ganze Zahl und größer\noder gleich 3 ist.");
const Box kOrderInvalid =
    fault("Fehler!\nEin Filter muß eine ganze Zahl sein und\nmindestens die Odnung 1 besitzen.");
const Box kFrequencyZero =
    fault("Fehler !\nDie Grenzfrequenzen müssen einen Wert größer\nals 0Hz besitzen.");

// Presses OK and expects the box, and that the dialog stays open.
void refuses(Dialog& dialog, const Box& box) {
    dialog.ok();
    EXPECT_THAT(dialog.takeBoxes(), ElementsAre(box));
    EXPECT_FALSE(dialog.closed());
}

void accepts(Dialog& dialog) {
    dialog.ok();
    EXPECT_THAT(dialog.takeBoxes(), IsEmpty());
    EXPECT_TRUE(dialog.closed());
}

std::vector<int> shown(const Dialog& dialog, const std::vector<int>& ids) {
    std::vector<int> found;
    for (const int id : ids) {
        if (dialog.visible(id)) found.push_back(id);
    }
    return found;
}

TEST(TODigitalFilterDlg, ShowsTheBlocksSettings) {
    Block block(kTypeCode);
    block.store<std::uint32_t>(kFir, 0);
    block.store<std::int16_t>(kMode, 116);
    block.store<double>(kCutoff, 440.75);
    block.store<double>(kUpper, 2000.5);
    block.store<double>(kLower, 120.25);
    block.store<std::int16_t>(kWindow, 101);
    block.store<std::int32_t>(kLength, 31);
    block.store<std::uint32_t>(kKaiser, 1);
    block.store<std::int16_t>(kCharacteristic, 111);
    block.store<double>(kRipple, 0.25);
    block.store<double>(kAttenuation, 55.5);
    block.store<std::int32_t>(kOrder, 6);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf({firButton, iirButton}), ElementsAre(iirButton));
        EXPECT_THAT(dialog.entries(windowList),
                    ElementsAre("Rectangular", "Triangular", "Hanning", "Hamming", "Blackman"));
        EXPECT_EQ(dialog.selection(windowList), 2);
        EXPECT_EQ(dialog.text(lengthEdit), "31");
        EXPECT_TRUE(dialog.checked(kaiserBox));
        EXPECT_THAT(
            dialog.entries(characteristicList),
            ElementsAre("Butterworth", "Chebyshev", "Elliptic", "Inverse Chebyshev", "Bessel"));
        EXPECT_EQ(dialog.selection(characteristicList), inverseChebyshev);
        EXPECT_EQ(dialog.text(orderEdit), "6");
        EXPECT_EQ(dialog.text(rippleEdit), "0.25");
        EXPECT_EQ(dialog.text(attenuationEdit), "55.5");
        EXPECT_THAT(dialog.checkedOf(kModes), ElementsAre(bandPass));
        EXPECT_EQ(dialog.text(cutoffEdit), "440");
        EXPECT_EQ(dialog.text(lowerEdit), "120");
        EXPECT_EQ(dialog.text(upperEdit), "2000");
        dialog.cancel();
    });
}

TEST(TODigitalFilterDlg, OkStoresEverySetting) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.choose(windowList, 1);
        dialog.type(lengthEdit, "51");
        dialog.click(kaiserBox);
        dialog.click(lowPass);
        dialog.type(cutoffEdit, "123.5");
        dialog.click(bandStop);
        dialog.type(lowerEdit, "200.25");
        dialog.type(upperEdit, "300.75");
        dialog.click(iirButton);
        dialog.choose(characteristicList, elliptic);
        dialog.type(orderEdit, "4");
        dialog.type(rippleEdit, "0.5");
        dialog.type(attenuationEdit, "62.5");
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::uint32_t>(kFir), 0U);
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 117);
    EXPECT_EQ(block.stored<double>(kCutoff), 123.5);
    EXPECT_EQ(block.stored<double>(kUpper), 300.75);
    EXPECT_EQ(block.stored<double>(kLower), 200.25);
    EXPECT_EQ(block.stored<std::int16_t>(kWindow), 100);
    EXPECT_EQ(block.stored<std::int32_t>(kLength), 51);
    EXPECT_EQ(block.stored<std::uint32_t>(kKaiser), 1U);
    EXPECT_EQ(block.stored<std::int16_t>(kCharacteristic), 110);
    EXPECT_EQ(block.stored<double>(kRipple), 0.5);
    EXPECT_EQ(block.stored<double>(kAttenuation), 62.5);
    EXPECT_EQ(block.stored<std::int32_t>(kOrder), 4);
    block.dialog([](Dialog& dialog) {
        dialog.click(firButton);
        dialog.click(highPass);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::uint32_t>(kFir), 1U);
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 115);
}

TEST(TODigitalFilterDlg, CancelLeavesTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    block.dialog([](Dialog& dialog) {
        dialog.choose(windowList, 0);
        dialog.type(lengthEdit, "24");
        refuses(dialog, kLengthInvalid);
        dialog.cancel();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TODigitalFilterDlg, HelpAsksTheHost) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.click(help);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.key(VK_ESCAPE);
    });
}

TEST(TODigitalFilterDlg, AnUnselectedCharacteristicStores107) {
    const Block block(kTypeCode);
    EXPECT_EQ(block.stored<std::int16_t>(kCharacteristic), 114);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(characteristicList), -1);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::int16_t>(kCharacteristic), 107);
}

TEST(TODigitalFilterDlg, AnUnknownModeChecksNothingAndIsLeft) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kMode, 118);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kModes), IsEmpty());
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::int16_t>(kMode), 118);
}

TEST(TODigitalFilterDlg, FirAndIirTakeTurns) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.enabledOf(kFirControls), kFirControls);
        EXPECT_THAT(dialog.enabledOf(kIirControls), IsEmpty());
        EXPECT_THAT(dialog.enabledOf(kRippleControls), IsEmpty());
        EXPECT_THAT(dialog.enabledOf(kAttenuationControls), IsEmpty());
        dialog.click(iirButton);
        EXPECT_THAT(dialog.enabledOf(kFirControls), IsEmpty());
        EXPECT_EQ(dialog.enabledOf(kIirControls), kIirControls);
        for (const int entry : {butterworth, chebyshev, elliptic, inverseChebyshev, bessel}) {
            SCOPED_TRACE(entry);
            dialog.choose(characteristicList, entry);
            const bool ripple = entry == chebyshev || entry == elliptic;
            const bool attenuation = entry == elliptic || entry == inverseChebyshev;
            EXPECT_EQ(dialog.enabledOf(kRippleControls),
                      ripple ? kRippleControls : std::vector<int>{});
            EXPECT_EQ(dialog.enabledOf(kAttenuationControls),
                      attenuation ? kAttenuationControls : std::vector<int>{});
        }
        dialog.choose(characteristicList, elliptic);
        dialog.click(firButton);
        EXPECT_EQ(dialog.enabledOf(kFirControls), kFirControls);
        EXPECT_THAT(dialog.enabledOf(kIirControls), IsEmpty());
        EXPECT_THAT(dialog.enabledOf(kRippleControls), IsEmpty());
        EXPECT_THAT(dialog.enabledOf(kAttenuationControls), IsEmpty());
        dialog.cancel();
    });
}

TEST(TODigitalFilterDlg, TheModeDecidesWhichFrequenciesAreShown) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        for (const int mode : {lowPass, bandPass, highPass, bandStop, lowPass}) {
            SCOPED_TRACE(mode);
            dialog.click(mode);
            const bool band = mode == bandPass || mode == bandStop;
            EXPECT_EQ(shown(dialog, kCutoffControls), band ? std::vector<int>{} : kCutoffControls);
            EXPECT_EQ(shown(dialog, kEdgeControls), band ? kEdgeControls : std::vector<int>{});
        }
        dialog.cancel();
    });
}

TEST(TODigitalFilterDlg, ArrowsStepAndNeverGoBelowTheSmallestAcceptedValue) {
    Block block(kTypeCode);
    block.store<double>(kAttenuation, 1.5);
    block.store<double>(kRipple, 0.2);
    block.dialog([](Dialog& dialog) {
        const auto steps = [&](int arrows, int edit, Arrow arrow) {
            dialog.clickArrow(arrows, arrow);
            return dialog.text(edit);
        };
        EXPECT_EQ(steps(lengthArrows, lengthEdit, Arrow::up), "27");
        EXPECT_EQ(steps(lengthArrows, lengthEdit, Arrow::down), "25");
        dialog.type(lengthEdit, "4");
        EXPECT_EQ(steps(lengthArrows, lengthEdit, Arrow::down), "3");
        EXPECT_EQ(steps(cutoffArrows, cutoffEdit, Arrow::up), "501");
        dialog.type(cutoffEdit, "1.5");
        EXPECT_EQ(steps(cutoffArrows, cutoffEdit, Arrow::down), "1");
        dialog.type(cutoffEdit, "1234567");
        EXPECT_EQ(steps(cutoffArrows, cutoffEdit, Arrow::up), "1234568");
        dialog.click(bandPass);
        EXPECT_EQ(steps(lowerArrows, lowerEdit, Arrow::down), "99");
        EXPECT_EQ(steps(upperArrows, upperEdit, Arrow::up), "1001");
        dialog.type(lowerEdit, "1.5");
        EXPECT_EQ(steps(lowerArrows, lowerEdit, Arrow::down), "1");
        dialog.type(upperEdit, "1.5");
        EXPECT_EQ(steps(upperArrows, upperEdit, Arrow::down), "1");
        dialog.click(iirButton);
        dialog.choose(characteristicList, elliptic);
        EXPECT_EQ(steps(orderArrows, orderEdit, Arrow::up), "3");
        dialog.type(orderEdit, "1");
        EXPECT_EQ(steps(orderArrows, orderEdit, Arrow::down), "1");
        EXPECT_EQ(steps(rippleArrows, rippleEdit, Arrow::up), "0.3");
        dialog.type(rippleEdit, "0.15");
        EXPECT_EQ(steps(rippleArrows, rippleEdit, Arrow::down), "0.1");
        EXPECT_EQ(steps(attenuationArrows, attenuationEdit, Arrow::up), "2.5");
        EXPECT_EQ(steps(attenuationArrows, attenuationEdit, Arrow::down), "1.5");
        EXPECT_EQ(steps(attenuationArrows, attenuationEdit, Arrow::down), "1");
        dialog.cancel();
    });
}

TEST(TODigitalFilterDlg, FrequenciesMustBePositive) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.type(cutoffEdit, "0");
        refuses(dialog, kFrequencyZero);
        dialog.click(highPass);
        refuses(dialog, kFrequencyZero);
        dialog.click(bandPass);
        dialog.type(lowerEdit, "-1");
        refuses(dialog, kFrequencyZero);
        dialog.click(bandStop);
        refuses(dialog, kFrequencyZero);
        dialog.cancel();
    });
}

TEST(TODigitalFilterDlg, UnusedFrequenciesAreCorrected) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.type(cutoffEdit, "abc");
        dialog.click(bandPass);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<double>(kCutoff), 1.0);
    block.dialog([](Dialog& dialog) {
        dialog.type(lowerEdit, "0");
        dialog.type(upperEdit, "0.5");
        dialog.click(lowPass);
        accepts(dialog);
    });
    // The lower edge becomes 1, and with that text it exceeds the upper edge.
    EXPECT_EQ(block.stored<double>(kLower), 1.0);
    EXPECT_EQ(block.stored<double>(kUpper), 2.0);
}

TEST(TODigitalFilterDlg, CorrectionsBeforeAFaultStay) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(bandPass);
        dialog.type(lowerEdit, "0");
        dialog.type(upperEdit, "0.5");
        dialog.click(lowPass);
        dialog.type(lengthEdit, "24");
        refuses(dialog, kLengthInvalid);
        EXPECT_EQ(dialog.text(lowerEdit), "1");
        EXPECT_EQ(dialog.text(upperEdit), "2");
        EXPECT_EQ(dialog.text(lengthEdit), "24");
        dialog.cancel();
    });
}

TEST(TODigitalFilterDlg, BandEdgesMustNotCross) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(bandPass);
        dialog.type(lowerEdit, "1000");
        refuses(dialog, kEdgesCrossed);
        dialog.type(lowerEdit, "1500.75");
        dialog.click(highPass);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<double>(kLower), 1500.0);
    EXPECT_EQ(block.stored<double>(kUpper), 1501.0);
}

TEST(TODigitalFilterDlg, TheLengthMustBeOddAndAtLeastThree) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        for (const char* text : {"24", "1", "5.5", "x", "-3"}) {
            SCOPED_TRACE(text);
            dialog.type(lengthEdit, text);
            refuses(dialog, kLengthInvalid);
        }
        dialog.type(lengthEdit, "3");
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::int32_t>(kLength), 3);
}

TEST(TODigitalFilterDlg, WithIirAnInvalidLengthIsCorrected) {
    const struct {
        const char* typed;
        std::int32_t stored;
    } rows[] = {{"24", 13}, {"26", 14}, {"1", 3}, {"7.5", 4}, {"-8", 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.typed);
        const Block block(kTypeCode);
        block.dialog([&](Dialog& dialog) {
            dialog.type(lengthEdit, row.typed);
            dialog.click(iirButton);
            accepts(dialog);
        });
        EXPECT_EQ(block.stored<std::int32_t>(kLength), row.stored);
    }
}

TEST(TODigitalFilterDlg, TheOrderMustBeWholeAndAtLeastOne) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(iirButton);
        for (const char* text : {"0", "2.5", ""}) {
            SCOPED_TRACE(text);
            dialog.type(orderEdit, text);
            refuses(dialog, kOrderInvalid);
        }
        dialog.type(orderEdit, "2.5");
        dialog.click(firButton);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::int32_t>(kOrder), 2);
    block.dialog([](Dialog& dialog) {
        dialog.click(iirButton);
        dialog.type(orderEdit, "-4");
        dialog.click(firButton);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<std::int32_t>(kOrder), 1);
}

TEST(TODigitalFilterDlg, RippleAndAttenuationMustSuitTheCharacteristic) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.click(iirButton);
        dialog.choose(characteristicList, elliptic);
        dialog.type(rippleEdit, "0");
        refuses(dialog, kRippleElliptic);
        dialog.type(rippleEdit, "40");
        refuses(dialog, kRippleAboveAttenuation);
        dialog.type(attenuationEdit, "0");
        dialog.type(rippleEdit, "0");
        dialog.choose(characteristicList, chebyshev);
        refuses(dialog, kRippleChebyshev);
        // The checks run with FIR as well.
        dialog.click(firButton);
        refuses(dialog, kRippleChebyshev);
        dialog.click(iirButton);
        dialog.choose(characteristicList, inverseChebyshev);
        refuses(dialog, kAttenuationZero);
        dialog.choose(characteristicList, butterworth);
        accepts(dialog);
    });
    EXPECT_EQ(block.stored<double>(kRipple), 0.1);
    EXPECT_EQ(block.stored<double>(kAttenuation), 1.1);
}

TEST(TODigitalFilterDlg, TheFirstFaultIsShown) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.type(lengthEdit, "4");
        dialog.type(cutoffEdit, "0");
        refuses(dialog, kFrequencyZero);
        dialog.type(cutoffEdit, "1");
        refuses(dialog, kLengthInvalid);
        dialog.cancel();
    });
}

}  // namespace
}  // namespace dialog_test::digital_filter
