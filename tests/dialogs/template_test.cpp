// What holds for every dialog: its controls, its keyboard use and its layout.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <set>

#include "dialogs/expected_controls.h"
#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test {

namespace {

class EveryDialog : public testing::TestWithParam<ExpectedDialog> {
protected:
    const Template template_ = readTemplate(GetParam().templateId);
};

// The letter behind a single "&", in lower case as far as it is ASCII; empty for none.
std::string mnemonicOf(const std::string& text) {
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != '&' || text[i + 1] == '&') continue;
        std::size_t end = i + 2;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
            ++end;
        }
        std::string letter = text.substr(i + 1, end - i - 1);
        letter[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(letter[0])));
        return letter;
    }
    return {};
}

bool isTabStop(const TemplateControl& control) { return (control.style & WS_TABSTOP) != 0; }
bool startsGroup(const TemplateControl& control) { return (control.style & WS_GROUP) != 0; }

bool isButton(const TemplateControl& control) {
    return control.kind == Kind::pushButton || control.kind == Kind::defaultButton;
}

// The cut-off frequency and the band edges of the filter dialog are never shown together.
bool shownInTurn(const TemplateControl& a, const TemplateControl& b) {
    const std::set<int> cutoff = {1293, 1294, 1299};
    const std::set<int> edges = {1295, 1296, 1297, 1298, 1300, 1301};
    return (cutoff.contains(a.id) && edges.contains(b.id)) ||
           (cutoff.contains(b.id) && edges.contains(a.id));
}

bool overlap(const TemplateControl& a, const TemplateControl& b) {
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height &&
           b.y < a.y + a.height;
}

bool inside(const TemplateControl& inner, const TemplateControl& outer, int margin) {
    return inner.x >= outer.x + margin && inner.y >= outer.y + margin &&
           inner.x + inner.width <= outer.x + outer.width - margin &&
           inner.y + inner.height <= outer.y + outer.height - margin;
}

// A closed list is as high as its line of text.
TemplateControl closed(TemplateControl control) {
    if (control.kind == Kind::list) control.height = 14;
    return control;
}

TEST_P(EveryDialog, HasItsCaptionAndTheSystemsFont) {
    EXPECT_EQ(template_.caption, GetParam().caption);
    EXPECT_EQ(template_.font, "MS Shell Dlg");
    EXPECT_EQ(template_.fontSize, 8);
}

TEST_P(EveryDialog, HasEveryControlWithItsKindAndText) {
    for (const ExpectedControl& given : GetParam().controls) {
        const auto matches = [&](const TemplateControl& c) {
            return c.id == given.id && c.kind == given.kind && c.text == given.text;
        };
        EXPECT_EQ(std::count_if(template_.controls.begin(), template_.controls.end(), matches), 1)
            << given.id << " \"" << given.text << '"';
    }
}

TEST_P(EveryDialog, UsesEachIdOnce) {
    std::map<int, int> uses;
    for (const TemplateControl& control : template_.controls) {
        EXPECT_NE(control.kind, Kind::other) << control.id;
        if (control.id != -1) {
            EXPECT_EQ(++uses[control.id], 1) << control.id;
        }
    }
}

TEST_P(EveryDialog, UsesEachMnemonicOnceAsFarAsItsTextsAllow) {
    std::map<std::string, int> uses;
    for (const TemplateControl& control : template_.controls) {
        if (const std::string letter = mnemonicOf(control.text); !letter.empty()) ++uses[letter];
    }
    std::string shared;
    for (const auto& [letter, count] : uses) {
        if (count > 1) shared += letter;
    }
    EXPECT_EQ(shared, GetParam().sharedLetters);
}

// A label passes its mnemonic on to the control behind it.
TEST_P(EveryDialog, PutsEveryEditAndItsArrowsBehindItsLabel) {
    const auto& controls = template_.controls;
    for (std::size_t i = 0; i < controls.size(); ++i) {
        if (controls[i].kind == Kind::label && !mnemonicOf(controls[i].text).empty()) {
            ASSERT_LT(i + 1, controls.size());
            EXPECT_TRUE(controls[i + 1].kind == Kind::edit || controls[i + 1].kind == Kind::list)
                << controls[i].text;
        }
        if (controls[i].kind == Kind::arrows) {
            ASSERT_GT(i, 0U);
            EXPECT_EQ(controls[i - 1].kind, Kind::edit) << controls[i].id;
            EXPECT_EQ(controls[i - 1].x + controls[i - 1].width, controls[i].x) << controls[i].id;
            EXPECT_EQ(controls[i - 1].y, controls[i].y) << controls[i].id;
            EXPECT_EQ(controls[i - 1].height, controls[i].height) << controls[i].id;
        }
    }
}

TEST_P(EveryDialog, StartsAGroupAtTheFirstRadioAndBehindTheLast) {
    const auto& controls = template_.controls;
    for (std::size_t i = 0; i < controls.size(); ++i) {
        if (controls[i].kind != Kind::radio) continue;
        const bool first = i == 0 || controls[i - 1].kind != Kind::radio;
        if (first) {
            EXPECT_TRUE(startsGroup(controls[i]) && isTabStop(controls[i])) << controls[i].id;
        }
        // The next group may hold radio buttons as well.
        if (startsGroup(controls[i])) {
            EXPECT_TRUE(isTabStop(controls[i])) << controls[i].id;
        } else {
            EXPECT_FALSE(isTabStop(controls[i])) << controls[i].id;
        }
        ASSERT_LT(i + 1, controls.size());
        if (controls[i + 1].kind != Kind::radio) {
            EXPECT_TRUE(startsGroup(controls[i + 1])) << controls[i + 1].id;
        }
    }
}

TEST_P(EveryDialog, ReachesEveryInputByTheTabKey) {
    for (const TemplateControl& control : template_.controls) {
        switch (control.kind) {
            case Kind::edit:
            case Kind::list:
            case Kind::checkBox:
            case Kind::pushButton:
            case Kind::defaultButton: EXPECT_TRUE(isTabStop(control)) << control.id; break;
            case Kind::arrows:
            case Kind::label:
            case Kind::group: EXPECT_FALSE(isTabStop(control)) << control.id; break;
            default: break;
        }
    }
}

TEST_P(EveryDialog, EndsWithOkAsItsDefaultThenCancelThenHelp) {
    std::vector<TemplateControl> buttons;
    for (const TemplateControl& control : template_.controls) {
        if (isButton(control) && (control.kind == Kind::defaultButton || !buttons.empty())) {
            buttons.push_back(control);
        }
    }
    const bool cancels = GetParam().typeCode != vynhost::kInverseFFT;
    ASSERT_EQ(buttons.size(), cancels ? 3U : 2U);
    EXPECT_EQ(buttons.front().id, IDOK);
    EXPECT_EQ(buttons.front().kind, Kind::defaultButton);
    EXPECT_EQ(buttons[1].id == IDCANCEL, cancels);
    for (const TemplateControl& button : buttons) {
        EXPECT_EQ(button.width, 50);
        EXPECT_EQ(button.height, 14);
        EXPECT_EQ(button.y, buttons.front().y);
    }
    EXPECT_TRUE(std::equal(buttons.begin(), buttons.end(),
                           template_.controls.end() - static_cast<std::ptrdiff_t>(buttons.size()),
                           [](const auto& a, const auto& b) { return a.id == b.id; }));
}

TEST_P(EveryDialog, OverlapsNothing) {
    const TemplateControl whole{.kind = Kind::other,
                                .id = 0,
                                .text = {},
                                .style = 0,
                                .x = 0,
                                .y = 0,
                                .width = template_.width,
                                .height = template_.height};
    for (std::size_t i = 0; i < template_.controls.size(); ++i) {
        const TemplateControl a = closed(template_.controls[i]);
        EXPECT_TRUE(inside(a, whole, 7)) << a.id << " \"" << a.text << '"';
        for (std::size_t j = i + 1; j < template_.controls.size(); ++j) {
            const TemplateControl b = closed(template_.controls[j]);
            const bool framed = (a.kind == Kind::group && inside(b, a, 5)) ||
                                (b.kind == Kind::group && inside(a, b, 5));
            EXPECT_TRUE(framed || shownInTurn(a, b) || !overlap(a, b))
                << a.id << " \"" << a.text << "\" and " << b.id << " \"" << b.text << '"';
        }
    }
}

// The room that the text of a control needs and has, in pixels.
struct Room {
    int needed = 0;
    int given = 0;
};

int textWidth(HWND control, const std::wstring& text, UINT format) {
    HDC context = ::GetDC(control);
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    auto* font = reinterpret_cast<HFONT>(::SendMessageW(control, WM_GETFONT, 0, 0));
    HGDIOBJ previous = ::SelectObject(context, font);
    RECT area{};
    ::DrawTextW(context, text.c_str(), -1, &area, DT_CALCRECT | DT_SINGLELINE | format);
    ::SelectObject(context, previous);
    ::ReleaseDC(control, context);
    return area.right;
}

Room roomOf(const TemplateControl& description, HWND control) {
    std::array<wchar_t, 256> text{};
    ::GetWindowTextW(control, text.data(), static_cast<int>(text.size()));
    RECT area{};
    ::GetClientRect(control, &area);
    const int character = textWidth(control, L"x", 0);
    Room room{textWidth(control, text.data(), 0), area.right};
    switch (description.kind) {
        case Kind::checkBox:
        case Kind::radio: room.given -= ::GetSystemMetrics(SM_CXMENUCHECK) + character; break;
        case Kind::group:
        case Kind::pushButton:
        case Kind::defaultButton: room.given -= 2 * character; break;
        case Kind::list:
            room.needed = 0;
            for (int i = 0; i < ::SendMessageW(control, CB_GETCOUNT, 0, 0); ++i) {
                std::array<wchar_t, 256> entry{};
                ::SendMessageW(control, CB_GETLBTEXT, static_cast<WPARAM>(i),
                               reinterpret_cast<LPARAM>(entry.data()));
                room.needed = std::max(room.needed, textWidth(control, entry.data(), DT_NOPREFIX));
            }
            room.given -= ::GetSystemMetrics(SM_CXVSCROLL) + 2 * character;
            break;
        case Kind::edit: room.needed = 5 * character; break;
        default: break;
    }
    return room;
}

TEST_P(EveryDialog, ClipsNoText) {
    const Block block(GetParam().typeCode);
    block.dialog([&](Dialog& dialog) {
        std::size_t place = 0;
        for (HWND child = ::GetWindow(dialog.window(), GW_CHILD); child != nullptr;
             child = ::GetWindow(child, GW_HWNDNEXT), ++place) {
            ASSERT_LT(place, template_.controls.size());
            const TemplateControl& control = template_.controls[place];
            const Room room = roomOf(control, child);
            EXPECT_LE(room.needed, room.given) << control.id << " \"" << control.text << '"';
        }
        EXPECT_EQ(place, template_.controls.size());
        dialog.close();
    });
}

TEST_P(EveryDialog, KeepsNoWindowOrDrawingObjectAfterItHasClosed) {
    const Block block(GetParam().typeCode);
    const auto openAndClose = [&] { block.dialog([](Dialog& dialog) { dialog.close(); }); };
    openAndClose();
    const DWORD windows = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
    const DWORD objects = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
    for (int i = 0; i < 10; ++i) {
        openAndClose();
    }
    EXPECT_LE(::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS), windows);
    EXPECT_LE(::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS), objects);
}

TEST_P(EveryDialog, IsModalAboveTheHostsWindow) {
    const Block block(GetParam().typeCode);
    block.dialog([](Dialog& dialog) {
        HWND owner = ::GetWindow(dialog.window(), GW_OWNER);
        EXPECT_EQ(windowText(owner), "Host");
        EXPECT_FALSE(::IsWindowEnabled(owner));
        dialog.close();
        EXPECT_TRUE(::IsWindowEnabled(owner));
    });
}

INSTANTIATE_TEST_SUITE_P(Dialogs, EveryDialog, testing::ValuesIn(expectedDialogs()),
                         [](const auto& dialog) { return dialog.param.name; });

}  // namespace
}  // namespace dialog_test
