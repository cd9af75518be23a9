#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::spectrum {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kTypeCode = vynhost::kSpektrum;

// Record offsets.
constexpr std::size_t kAmplitudeType = 8;
constexpr std::size_t kWindow = 10;
constexpr std::size_t kCorrection = 12;
constexpr std::size_t kParameter = 14;
constexpr std::size_t kPhase = 22;

// Controls.
constexpr int kHelp = 1107;
constexpr int kAmplitudeList = 1099;
constexpr int kPhaseBox = 1101;
constexpr int kWindowList = 1100;
constexpr int kParameterLabel = 1114;
constexpr int kParameterEdit = 1113;
constexpr int kParameterArrows = 1112;
constexpr int kCorrectionGroup = 1106;
const std::vector<int> kCorrections = {1102, 1103, 1104};
const std::vector<int> kCorrectionControls = {kCorrectionGroup, 1102, 1103, 1104};
const std::vector<int> kParameterControls = {kParameterArrows, kParameterEdit, kParameterLabel};

int amplitudeType(const Block& block) { return block.stored<std::uint16_t>(kAmplitudeType); }
int window(const Block& block) { return block.stored<std::uint16_t>(kWindow); }
int correction(const Block& block) { return block.stored<std::uint16_t>(kCorrection); }
double parameter(const Block& block) { return block.stored<double>(kParameter); }
std::int32_t phase(const Block& block) { return block.stored<std::int32_t>(kPhase); }

TEST(TOSpektrumDlg, ShowsTheBlocksSettings) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kAmplitudeType, 53);
    block.store<std::uint16_t>(kWindow, 77);
    block.store<std::uint16_t>(kCorrection, 1104);
    block.store<double>(kParameter, 2.5);
    block.store<std::int32_t>(kPhase, 1);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.caption(), "FFT");
        EXPECT_THAT(dialog.entries(kAmplitudeList),
                    ElementsAre("Peak", "RMS", "Powerspektrum", "Powerspektrumdensity",
                                "Autospektrum", "Cepstrum", "Real / Imaginärteil"));
        EXPECT_EQ(dialog.selection(kAmplitudeList), 3);
        EXPECT_THAT(
            dialog.entries(kWindowList),
            ElementsAre("Keine", "Rechteck", "Hanning", "Hamming", "Blackman", "FlatTop",
                        "Kaiser-Bessel", "Cosinus-10%", "Welch", "Parzen", "Bartlet / Dreieck",
                        "Valée", "Cauchy", "Gauß", "Exponential", "Riemann"));
        EXPECT_EQ(dialog.selection(kWindowList), 13);
        EXPECT_TRUE(dialog.checked(kPhaseBox));
        EXPECT_EQ(dialog.text(kParameterEdit), "2.5");
        EXPECT_THAT(dialog.checkedOf(kCorrections), ElementsAre(1104));
        dialog.cancel();
    });
}

TEST(TOSpektrumDlg, OkStoresEverySetting) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.choose(kAmplitudeList, 5);
        dialog.click(kPhaseBox);
        dialog.choose(kWindowList, 6);
        dialog.type(kParameterEdit, "7.25");
        dialog.click(1103);
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(amplitudeType(block), 55);
    EXPECT_EQ(phase(block), 1);
    EXPECT_EQ(window(block), 70);
    EXPECT_EQ(parameter(block), 7.25);
    EXPECT_EQ(correction(block), 1103);
}

TEST(TOSpektrumDlg, CancelEscapeAndTheCrossLeaveTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    const std::function<void(Dialog&)> ways[] = {
        [](Dialog& dialog) { dialog.cancel(); },
        [](Dialog& dialog) { dialog.key(VK_ESCAPE); },
        [](Dialog& dialog) { dialog.close(); },
    };
    for (const auto& close : ways) {
        block.dialog([&](Dialog& dialog) {
            dialog.choose(kAmplitudeList, 2);
            dialog.choose(kWindowList, 6);
            dialog.type(kParameterEdit, "3");
            dialog.click(kPhaseBox);
            dialog.click(1104);
            close(dialog);
            EXPECT_TRUE(dialog.closed());
        });
        EXPECT_EQ(block.record(), before);
    }
}

TEST(TOSpektrumDlg, ReturnInTheEditAccepts) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 76);
    block.dialog([](Dialog& dialog) {
        dialog.type(kParameterEdit, "4");
        dialog.key(VK_RETURN);
        EXPECT_TRUE(dialog.closed());
    });
    EXPECT_EQ(parameter(block), 4.0);
}

TEST(TOSpektrumDlg, HelpAsksTheHostAndStaysOpen) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.click(kHelp);
        dialog.altKey('h');
        EXPECT_EQ(takeHelpRequests(), 2);
        EXPECT_FALSE(dialog.closed());
        dialog.altKey('a');
        EXPECT_TRUE(dialog.closed());
    });
}

TEST(TOSpektrumDlg, AnAmplitudeTypeThatIsNotOfferedSelectsNothingAndStores49) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kAmplitudeType, 57);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(kAmplitudeList), -1);
        dialog.ok();
    });
    EXPECT_EQ(amplitudeType(block), 49);
}

TEST(TOSpektrumDlg, AnUnknownWindowSelectsNothingAndStores63) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 80);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(kWindowList), -1);
        EXPECT_THAT(dialog.enabledOf(kCorrectionControls), kCorrectionControls);
        EXPECT_THAT(dialog.enabledOf(kParameterControls), IsEmpty());
        dialog.ok();
    });
    EXPECT_EQ(window(block), 63);
}

TEST(TOSpektrumDlg, AnUnknownCorrectionChecksNothingAndIsKept) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kCorrection, 1110);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.checkedOf(kCorrections), IsEmpty());
        dialog.ok();
    });
    EXPECT_EQ(correction(block), 1110);
}

TEST(TOSpektrumDlg, RealAndImaginaryPartsDisablePhaseAndKeepItsMark) {
    Block block(kTypeCode);
    block.store<std::int32_t>(kPhase, 1);
    block.dialog([](Dialog& dialog) {
        EXPECT_TRUE(dialog.enabled(kPhaseBox));
        dialog.choose(kAmplitudeList, 6);
        EXPECT_FALSE(dialog.enabled(kPhaseBox));
        EXPECT_TRUE(dialog.checked(kPhaseBox));
        dialog.ok();
    });
    EXPECT_EQ(amplitudeType(block), 56);
    EXPECT_EQ(phase(block), 1);
    block.dialog([](Dialog& dialog) {
        EXPECT_FALSE(dialog.enabled(kPhaseBox));
        dialog.choose(kAmplitudeList, 5);
        EXPECT_TRUE(dialog.enabled(kPhaseBox));
        dialog.cancel();
    });
}

TEST(TOSpektrumDlg, TheWindowDecidesAboutCorrectionAndParameter) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        for (int entry = 0; entry < 16; ++entry) {
            SCOPED_TRACE(entry);
            dialog.choose(kWindowList, entry);
            const bool hasCorrection = entry > 1;
            const bool hasParameter = entry == 6 || entry == 12 || entry == 13 || entry == 14;
            EXPECT_EQ(dialog.enabledOf(kCorrectionControls),
                      hasCorrection ? kCorrectionControls : std::vector<int>{});
            EXPECT_EQ(dialog.enabledOf(kParameterControls),
                      hasParameter ? kParameterControls : std::vector<int>{});
        }
        dialog.cancel();
    });
}

TEST(TOSpektrumDlg, DisabledControlsAreStillStored) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        dialog.choose(kWindowList, 6);
        dialog.type(kParameterEdit, "33");
        dialog.click(1104);
        dialog.choose(kWindowList, 0);
        dialog.ok();
    });
    EXPECT_EQ(window(block), 64);
    EXPECT_EQ(parameter(block), 33.0);
    EXPECT_EQ(correction(block), 1104);
}

struct TypedParameter {
    const char* text;
    double stored;
};

class SpectrumParameter : public testing::TestWithParam<TypedParameter> {};

TEST_P(SpectrumParameter, IsReadAsANumberAndLimited) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 78);
    block.dialog([](Dialog& dialog) {
        dialog.type(kParameterEdit, GetParam().text);
        dialog.ok();
    });
    EXPECT_EQ(parameter(block), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(Texts, SpectrumParameter,
                         testing::Values(TypedParameter{"250", 100.0}, TypedParameter{"-3", 0.0},
                                         TypedParameter{"abc", 0.0}, TypedParameter{"", 0.0},
                                         TypedParameter{"1e999", 100.0}, TypedParameter{"nan", 0.0},
                                         TypedParameter{"1.5x", 1.5}, TypedParameter{"2,5", 2.0},
                                         // Only the first twenty characters count.
                                         TypedParameter{"000000000000000000012", 1.0}));

TEST(TOSpektrumDlg, TheArrowsLeaveTheNumberUnchanged) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 70);
    block.dialog([](Dialog& dialog) {
        dialog.clickArrow(kParameterArrows, Arrow::up);
        dialog.clickArrow(kParameterArrows, Arrow::down);
        dialog.clickArrow(kParameterArrows, Arrow::down);
        EXPECT_EQ(dialog.text(kParameterEdit), "10");
        dialog.cancel();
    });
}

TEST(TOSpektrumDlg, AScrollNotificationOfTheEditItselfSteps) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 70);
    block.dialog([](Dialog& dialog) {
        const auto scroll = [&](int code) {
            ::SendMessageW(dialog.window(), WM_VSCROLL, static_cast<WPARAM>(code),
                           reinterpret_cast<LPARAM>(dialog.control(kParameterEdit)));
            return dialog.text(kParameterEdit);
        };
        EXPECT_EQ(scroll(SB_LINEUP), "11");
        EXPECT_EQ(scroll(SB_LINEDOWN), "10");
        EXPECT_EQ(scroll(SB_ENDSCROLL), "10");
        dialog.type(kParameterEdit, "99.5");
        EXPECT_EQ(scroll(SB_LINEUP), "100");
        dialog.type(kParameterEdit, "0.25");
        EXPECT_EQ(scroll(SB_LINEDOWN), "0");
        dialog.cancel();
    });
}

TEST(TOSpektrumDlg, TabAndArrowKeysReachEveryControl) {
    Block block(kTypeCode);
    block.store<std::uint16_t>(kWindow, 70);
    block.dialog([](Dialog& dialog) {
        std::vector<int> order;
        do {
            order.push_back(dialog.focus());
            dialog.leave();
        } while (dialog.focus() != order.front() && order.size() < 20);
        EXPECT_THAT(order, ElementsAre(kAmplitudeList, kPhaseBox, kWindowList, kParameterEdit, 1102,
                                       IDOK, IDCANCEL, kHelp));
        ::SetFocus(dialog.control(1102));
        dialog.key(VK_DOWN);
        EXPECT_THAT(dialog.checkedOf(kCorrections), ElementsAre(1103));
        dialog.key(VK_RIGHT);
        dialog.key(VK_RIGHT);
        EXPECT_THAT(dialog.checkedOf(kCorrections), ElementsAre(1102));
        dialog.cancel();
    });
}

}  // namespace
}  // namespace dialog_test::spectrum
