// A host is open for weeks: dialogs leave no handle behind, of whatever kind.
// VYN_OPENINGS=500 opens each dialog so often; ./check is content with fewer.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ostream>
#include <vector>

#include "dialogs/expected_controls.h"
#include "dialogs/host_side.h"

namespace dialog_test {
namespace {

struct Handles {
    int kernel = 0;
    int user = 0;
    int gdi = 0;
    bool operator==(const Handles&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Handles& handles) {
        return out << handles.kernel << " of the kernel, " << handles.user << " of windows, "
                   << handles.gdi << " of drawing";
    }
};

// Wine counts nothing for a process. There the places are looked at.

// So many new handles that they fill every gap: the last place then tells how many there were
// before. Gaps are left by the dialogs and by the count before, so that each count takes more than
// that one.
template <class Make, class Close>
int handlesBefore(Make make, Close close, ULONG_PTR step) {
    constexpr std::size_t kMoreThanDialogsLeave = 100;
    static std::size_t count = 0;
    count += kMoreThanDialogsLeave;
    std::vector<decltype(make())> made(count);
    ULONG_PTR last = 0;
    for (auto& handle : made) {
        handle = make();
        last = std::max(last, reinterpret_cast<ULONG_PTR>(handle) & 0xFFFF);
    }
    std::ranges::for_each(made, close);
    return static_cast<int>(last / step - count);
}

HWND newWindow() {
    return ::CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
}
HANDLE newEvent() { return ::CreateEventA(nullptr, TRUE, FALSE, nullptr); }

// The table of drawing objects that every process of 64 bits can read.
int placesOfDrawing() {
    struct Place {
        ULONGLONG object;
        ULONG owner;
        USHORT unique;
        UCHAR type;  // 0: free
        UCHAR more;
        ULONGLONG user;
    };
    constexpr std::size_t kTableInProcess = 0xF8;
    constexpr std::size_t kPlaces = 0x4000;
    const auto process = reinterpret_cast<const char*>(__readgsqword(0x60));
    const auto* places = *reinterpret_cast<Place* const*>(process + kTableInProcess);
    return static_cast<int>(std::count_if(places, places + kPlaces,
                                          [](const Place& place) { return place.type != 0; }));
}

Handles handles() {
    DWORD kernel = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &kernel);
    const auto count = [](DWORD counted, int places) {
        return counted != 0 ? static_cast<int>(counted) : places;
    };
    return {
        .kernel = count(kernel, handlesBefore(newEvent, ::CloseHandle, 4)),
        .user = count(::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS),
                      handlesBefore(newWindow, ::DestroyWindow, 2)),
        .gdi = count(::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS), placesOfDrawing())};
}

int openings() {
    const char* text = std::getenv("VYN_OPENINGS");
    return text != nullptr ? std::atoi(text) : 10;
}

TEST(HandleCount, SeesWhatIsLeftBehind) {
    for (const bool first :
         {true, true, false}) {  // the first of their kind bring things that stay
        const Handles before = handles();
        HWND window = newWindow();
        HMENU menu = ::CreateMenu();
        HBRUSH brush = ::CreateSolidBrush(RGB(1, 2, 3));
        HANDLE event = newEvent();
        const Handles with = handles();
        ::CloseHandle(event);
        ::DeleteObject(brush);
        ::DestroyMenu(menu);
        ::DestroyWindow(window);
        if (first) continue;
        EXPECT_EQ(with, (Handles{before.kernel + 1, before.user + 2, before.gdi + 1}));
        EXPECT_EQ(handles(), before);
    }
}

class AnyDialog : public testing::TestWithParam<ExpectedDialog> {};

TEST_P(AnyDialog, LeavesNoHandleBehind) {
    const Block block(GetParam().typeCode);
    const auto open = [&](int times) {
        for (int i = 0; i < times; ++i) {
            block.dialog([&](Dialog& dialog) {
                if (i % 2 == 0)
                    dialog.ok();
                else
                    dialog.close();
            });
        }
    };
    open(4);  // classes, fonts and the like, made once
    const Handles before = handles();
    open(openings());
    EXPECT_EQ(handles(), before);
}

INSTANTIATE_TEST_SUITE_P(Dialogs, AnyDialog, testing::ValuesIn(expectedDialogs()),
                         [](const auto& dialog) { return dialog.param.name; });

}  // namespace
}  // namespace dialog_test
