// What holds for every dialog under a user who does anything: each control in random order, texts
// that are no numbers and far too long.
#include <gmock/gmock.h>

#include <array>
#include <random>

#include "dialogs/expected_controls.h"
#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test {
namespace {

class AnyUser : public testing::TestWithParam<ExpectedDialog> {
protected:
    // One dialog has nothing to set and no Cancel.
    bool canCancel() const { return GetParam().typeCode != vynhost::kInverseFFT; }

    // One act upon a control that can be acted upon.
    void act(Dialog& dialog, const ExpectedControl& control) {
        if (dialog.closed() || !dialog.visible(control.id) || !dialog.enabled(control.id)) return;
        switch (control.kind) {
            case Kind::pushButton:
            case Kind::checkBox:
            case Kind::radio: dialog.click(control.id); break;
            case Kind::arrows:
                dialog.clickArrow(control.id, random_() % 2 == 0 ? Arrow::up : Arrow::down);
                break;
            case Kind::edit: paste(dialog, control.id); break;
            case Kind::list: {
                const auto entries = dialog.entries(control.id);
                if (!entries.empty()) {
                    dialog.choose(control.id, static_cast<int>(random_() % entries.size()));
                }
                break;
            }
            default: break;
        }
    }

    void paste(Dialog& dialog, int edit) {
        static const std::array<std::string, 12> texts = {
            "",     "nan", "1e999", "-1e999", "1,5",      "abc",
            "%s%n", "0",   "-1",    "0.001",  "99999999", std::string(10000, '9')};
        dialog.click(edit);
        ::SendMessageA(dialog.control(edit), EM_SETSEL, 0, -1);
        ::SendMessageA(dialog.control(edit), EM_REPLACESEL, TRUE,
                       reinterpret_cast<LPARAM>(texts[random_() % texts.size()].c_str()));
        dialog.leave();
    }

    void actAtRandom(Dialog& dialog, int acts) {
        const auto& controls = GetParam().controls;
        for (int i = 0; i < acts; ++i) {
            const ExpectedControl& control = controls[random_() % controls.size()];
            if (control.id == IDOK || control.id == IDCANCEL) continue;
            act(dialog, control);
            ASSERT_FALSE(dialog.closed()) << "control " << control.id;
        }
        dialog.takeBoxes();
    }

    std::mt19937 random_{31};
};

TEST_P(AnyUser, CancelsAndNothingHasChanged) {
    const Block block(GetParam().typeCode);
    const Bytes before = block.record();
    for (int round = 0; round < 3; ++round) {
        block.dialog([&](Dialog& dialog) {
            actAtRandom(dialog, 40);
            if (round == 0 && canCancel()) dialog.cancel();
            if (round == 1) dialog.key(VK_ESCAPE);
            if (round == 2) dialog.close();
            if (!dialog.closed()) dialog.ok();
        });
        EXPECT_EQ(block.record(), before);
    }
}

// What is accepted comes back as it was shown.
TEST_P(AnyUser, AcceptsAndFindsTheSameAgain) {
    const Block block(GetParam().typeCode);
    for (int round = 0; round < 5; ++round) {
        bool accepted = false;
        block.dialog([&](Dialog& dialog) {
            actAtRandom(dialog, 25);
            dialog.ok();
            accepted = dialog.closed();
            if (!accepted) {
                EXPECT_FALSE(dialog.takeBoxes().empty()) << "OK is refused without a word";
                dialog.cancel();  // which is there wherever a check is
            }
        });
        const Bytes stored = block.record();
        block.dialog([&](Dialog& dialog) {
            dialog.ok();
            if (!dialog.closed()) dialog.cancel();
            dialog.takeBoxes();
        });
        if (accepted) {
            EXPECT_EQ(block.record(), stored) << "round " << round;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Dialogs, AnyUser, testing::ValuesIn(expectedDialogs()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace dialog_test
