// A dialog as its user sees it: clicks, keys, and what the controls show. Everything happens inside
// the dialog's own message loop, on its thread; nothing waits for time to pass.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace dialog_test {

// A message box that the dialog has shown; the driver closes it with its OK button.
struct Box {
    std::string caption;
    std::string text;
    bool ownedByDialog = false;
    bool hasIcon = false;
    bool operator==(const Box&) const = default;
};

// The box of a failed check.
inline Box warning(const std::string& caption, const std::string& text) {
    return {.caption = caption, .text = text, .ownedByDialog = true, .hasIcon = true};
}

enum class Arrow { up, down };

std::string utf8(const std::wstring& wide);
std::string windowText(HWND window);

class Dialog {
public:
    explicit Dialog(HWND window) : window_(window) {}

    HWND window() const { return window_; }
    HWND control(int id) const;
    bool closed() const { return !::IsWindow(window_) || !::IsWindowVisible(window_); }
    std::string caption() const { return windowText(window_); }

    // What the controls show.
    std::string text(int id) const { return windowText(control(id)); }
    bool enabled(int id) const { return ::IsWindowEnabled(control(id)) != FALSE; }
    // Those of the ids that are enabled, in their order.
    std::vector<int> enabledOf(const std::vector<int>& ids) const;
    bool visible(int id) const;
    bool checked(int id) const;
    std::vector<int> checkedOf(const std::vector<int>& ids) const;
    int selection(int id) const;
    std::vector<std::string> entries(int id) const;
    int focus() const { return ::GetDlgCtrlID(::GetFocus()); }

    // Mouse: only what is visible and enabled can be clicked.
    void click(int id);
    void clickArrow(int scrollBar, Arrow arrow);

    // Keys go to whatever has the focus, through the dialog's keyboard interface.
    void key(UINT virtualKey);
    void altKey(char letter);
    void characters(const std::string& ascii);
    // Clicks into the edit and replaces its text; the focus stays there.
    void type(int edit, const std::string& ascii);
    // Leaves whatever has the focus by the Tab key.
    void leave() { key(VK_TAB); }
    // Clicks into the edit, replaces its text and leaves it.
    void enter(int edit, const std::string& ascii);
    // Moves the selection of a list with the arrow keys.
    void choose(int list, int entry);

    void ok() { click(IDOK); }
    void cancel() { click(IDCANCEL); }
    // The cross in the caption.
    void close();

    // The message boxes that have been shown, oldest first; forgets them.
    std::vector<Box> takeBoxes();

    // Draws the dialog and writes its picture, frame included, as a BMP file.
    void picture(const std::string& path) const;

private:
    HWND window_;
};

}  // namespace dialog_test
