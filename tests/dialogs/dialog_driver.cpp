#include "dialogs/dialog_driver.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <utility>

namespace dialog_test {
namespace {

std::vector<Box> shownBoxes;

// Watches for message boxes while a click or a key is being handled: only a box runs a message loop
// then, and its loop delivers the watcher's timer.
class BoxWatcher {
public:
    explicit BoxWatcher(HWND dialog) {
        watched_ = dialog;
        timer_ = ::SetTimer(nullptr, 0, USER_TIMER_MINIMUM, tick);
    }
    ~BoxWatcher() { ::KillTimer(nullptr, timer_); }
    BoxWatcher(const BoxWatcher&) = delete;
    BoxWatcher& operator=(const BoxWatcher&) = delete;

private:
    static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD) {
        ::EnumThreadWindows(::GetCurrentThreadId(), close, 0);
    }

    static BOOL CALLBACK close(HWND window, LPARAM) {
        std::array<char, 32> name{};
        ::GetClassNameA(window, name.data(), static_cast<int>(name.size()));
        const bool isDialog = std::string(name.data()) == "#32770";
        if (!isDialog || window == watched_ || !::IsWindowVisible(window)) return TRUE;
        Box box{.caption = windowText(window),
                .text = {},
                .ownedByDialog = ::GetWindow(window, GW_OWNER) == watched_,
                .hasIcon = false};
        ::EnumChildWindows(window, describe, reinterpret_cast<LPARAM>(&box));
        shownBoxes.push_back(box);
        ::SendMessageW(window, WM_COMMAND, IDOK, 0);
        return FALSE;
    }

    static BOOL CALLBACK describe(HWND child, LPARAM box) {
        std::array<char, 32> name{};
        ::GetClassNameA(child, name.data(), static_cast<int>(name.size()));
        if (std::string(name.data()) == "Static") {
            auto& described = *reinterpret_cast<Box*>(box);  // NOLINT(performance-no-int-to-ptr)
            const bool icon = (::GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
            described.hasIcon = described.hasIcon || icon;
            if (!icon && !windowText(child).empty()) described.text = windowText(child);
        }
        return TRUE;
    }

    static inline HWND watched_ = nullptr;
    UINT_PTR timer_;
};

void deliver(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    HWND focus = ::GetFocus();
    MSG event{};
    event.hwnd = focus != nullptr ? focus : dialog;
    event.message = message;
    event.wParam = first;
    event.lParam = second;
    if (!::IsDialogMessageW(dialog, &event)) ::DispatchMessageW(&event);
}

LPARAM point(int x, int y) { return MAKELPARAM(x, y); }

}  // namespace

std::string utf8(const std::wstring& wide) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()),
                                           nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(), size,
                          nullptr, nullptr);
    return text;
}

std::string windowText(HWND window) {
    const auto length = static_cast<std::size_t>(::SendMessageW(window, WM_GETTEXTLENGTH, 0, 0));
    std::wstring wide(length + 1, L'\0');
    wide.resize(static_cast<std::size_t>(
        ::SendMessageW(window, WM_GETTEXT, wide.size(), reinterpret_cast<LPARAM>(wide.data()))));
    return utf8(wide);
}

HWND Dialog::control(int id) const {
    HWND found = ::GetDlgItem(window_, id);
    EXPECT_NE(found, nullptr) << "no control " << id;
    return found;
}

std::vector<int> Dialog::enabledOf(const std::vector<int>& ids) const {
    std::vector<int> found;
    for (const int id : ids) {
        if (enabled(id)) found.push_back(id);
    }
    return found;
}

bool Dialog::visible(int id) const {
    return (::GetWindowLongW(control(id), GWL_STYLE) & WS_VISIBLE) != 0;
}

bool Dialog::checked(int id) const {
    return ::SendMessageW(control(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

std::vector<int> Dialog::checkedOf(const std::vector<int>& ids) const {
    std::vector<int> found;
    for (const int id : ids) {
        if (checked(id)) found.push_back(id);
    }
    return found;
}

int Dialog::selection(int id) const {
    return static_cast<int>(::SendMessageW(control(id), CB_GETCURSEL, 0, 0));
}

std::vector<std::string> Dialog::entries(int id) const {
    HWND list = control(id);
    std::vector<std::string> texts;
    const auto count = ::SendMessageW(list, CB_GETCOUNT, 0, 0);
    for (WPARAM entry = 0; entry < static_cast<WPARAM>(count); ++entry) {
        std::wstring wide(
            static_cast<std::size_t>(::SendMessageW(list, CB_GETLBTEXTLEN, entry, 0)) + 1, L'\0');
        ::SendMessageW(list, CB_GETLBTEXT, entry, reinterpret_cast<LPARAM>(wide.data()));
        wide.pop_back();
        texts.push_back(utf8(wide));
    }
    return texts;
}

void Dialog::click(int id) {
    const BoxWatcher watcher(window_);
    HWND target = control(id);
    ASSERT_TRUE(visible(id) && enabled(id)) << "control " << id << " cannot be clicked";
    RECT area{};
    ::GetClientRect(target, &area);
    const LPARAM middle = point(area.right / 2, area.bottom / 2);
    ::SendMessageW(target, WM_LBUTTONDOWN, MK_LBUTTON, middle);
    ::SendMessageW(target, WM_LBUTTONUP, 0, middle);
}

void Dialog::clickArrow(int scrollBar, Arrow arrow) {
    const BoxWatcher watcher(window_);
    HWND target = control(scrollBar);
    ASSERT_TRUE(visible(scrollBar) && enabled(scrollBar))
        << "arrows " << scrollBar << " cannot be clicked";
    RECT area{};
    ::GetClientRect(target, &area);
    const LPARAM place = point(area.right / 2, arrow == Arrow::up ? 2 : area.bottom - 3);
    // The bar follows the mouse until the button is released: the release waits in the queue.
    ::PostMessageW(target, WM_LBUTTONUP, 0, place);
    ::SendMessageW(target, WM_LBUTTONDOWN, MK_LBUTTON, place);
}

void Dialog::key(UINT virtualKey) {
    const BoxWatcher watcher(window_);
    deliver(window_, WM_KEYDOWN, virtualKey, 1);
}

void Dialog::altKey(char letter) {
    const BoxWatcher watcher(window_);
    deliver(window_, WM_SYSCHAR, static_cast<unsigned char>(letter), 1 << 29);
}

void Dialog::characters(const std::string& ascii) {
    for (const char c : ascii) {
        deliver(window_, WM_CHAR, static_cast<unsigned char>(c), 1);
    }
}

void Dialog::type(int edit, const std::string& ascii) {
    click(edit);
    ASSERT_EQ(focus(), edit);
    ::SendMessageW(control(edit), EM_SETSEL, 0, -1);
    if (ascii.empty()) key(VK_DELETE);
    characters(ascii);
}

void Dialog::enter(int edit, const std::string& ascii) {
    type(edit, ascii);
    leave();
    EXPECT_NE(focus(), edit);
}

void Dialog::choose(int list, int entry) {
    ASSERT_TRUE(visible(list) && enabled(list)) << "list " << list << " cannot be used";
    ::SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(list)), TRUE);
    ASSERT_EQ(focus(), list);
    while (selection(list) != entry) {
        const int before = selection(list);
        key(before < entry ? VK_DOWN : VK_UP);
        ASSERT_NE(selection(list), before) << "list " << list << " has no entry " << entry;
    }
}

void Dialog::close() {
    const BoxWatcher watcher(window_);
    ::SendMessageW(window_, WM_SYSCOMMAND, SC_CLOSE, 0);
    // The dialog posts itself what the cross means.
    MSG event{};
    while (::PeekMessageW(&event, window_, WM_COMMAND, WM_COMMAND, PM_REMOVE)) {
        ::DispatchMessageW(&event);
    }
}

std::vector<Box> Dialog::takeBoxes() { return std::exchange(shownBoxes, {}); }

void Dialog::picture(const std::string& path) const {
    ::RedrawWindow(window_, nullptr, nullptr,
                   RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    RECT area{};
    ::GetWindowRect(window_, &area);
    const int width = area.right - area.left;
    const int height = area.bottom - area.top;

    HDC source = ::GetWindowDC(window_);
    HDC memory = ::CreateCompatibleDC(source);
    BITMAPINFO format{};
    format.bmiHeader = {.biSize = sizeof(BITMAPINFOHEADER),
                        .biWidth = width,
                        .biHeight = height,
                        .biPlanes = 1,
                        .biBitCount = 32,
                        .biCompression = BI_RGB,
                        .biSizeImage = 0,
                        .biXPelsPerMeter = 0,
                        .biYPelsPerMeter = 0,
                        .biClrUsed = 0,
                        .biClrImportant = 0};
    void* pixels = nullptr;
    HBITMAP bitmap = ::CreateDIBSection(memory, &format, DIB_RGB_COLORS, &pixels, nullptr, 0);
    HGDIOBJ previous = ::SelectObject(memory, bitmap);
    ::BitBlt(memory, 0, 0, width, height, source, 0, 0, SRCCOPY);
    ::GdiFlush();

    const auto size = static_cast<DWORD>(width * height * 4);
    BITMAPFILEHEADER head{};
    head.bfType = 0x4D42;
    head.bfOffBits = sizeof head + sizeof(BITMAPINFOHEADER);
    head.bfSize = head.bfOffBits + size;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(&head), sizeof head);
    file.write(reinterpret_cast<const char*>(&format.bmiHeader), sizeof(BITMAPINFOHEADER));
    file.write(static_cast<const char*>(pixels), size);

    ::SelectObject(memory, previous);
    ::DeleteObject(bitmap);
    ::DeleteDC(memory);
    ::ReleaseDC(window_, source);
}

}  // namespace dialog_test
