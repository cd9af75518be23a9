#include "platform/dialog.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "platform/module_instance.h"

namespace vynpack::platform {
namespace {

HWND windowOf(HostWindow window) noexcept {
    return reinterpret_cast<HWND>(window);  // NOLINT(performance-no-int-to-ptr)
}

HWND controlOf(HostWindow dialog, int id) noexcept { return ::GetDlgItem(windowOf(dialog), id); }

HINSTANCE instanceHandle() noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HINSTANCE>(moduleInstance());
}

// The window that is blocked while the dialog is open: the host's, with whatever is open above it.
// A host that gave an invisible window works in the thread's active one.
HWND ownerOf(HostWindow hostWindow) noexcept {
    HWND window = windowOf(hostWindow);
    if (!::IsWindowVisible(window)) return ::GetActiveWindow();
    return ::GetLastActivePopup(::GetAncestor(window, GA_ROOT));
}

// Return presses the default button and leaves the focus where it is; for the dialog the edit is
// left all the same.
int focusedEdit(HWND dialog) noexcept {
    HWND focus = ::GetFocus();
    if (focus == nullptr || ::GetParent(focus) != dialog) return 0;
    const bool isEdit = (::SendMessageW(focus, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL) != 0;
    return isEdit ? ::GetDlgCtrlID(focus) : 0;
}

}  // namespace

// Translates the messages of the system's dialogs. Nothing thrown may pass through the system's
// frames: what fails while the dialog opens closes it as cancelled, what fails later has no effect.
struct DialogProcedure {
    static INT_PTR CALLBACK entry(HWND window, UINT message, WPARAM first, LPARAM second) noexcept {
        auto* dialog = reinterpret_cast<DialogWindow*>(  // NOLINT(performance-no-int-to-ptr)
            message == WM_INITDIALOG ? second : ::GetWindowLongPtrW(window, DWLP_USER));
        if (dialog == nullptr) return FALSE;
        try {
            return handle(*dialog, window, message, first, second);
        } catch (...) {
            if (message == WM_INITDIALOG) ::EndDialog(window, kDialogCancel);
            return FALSE;
        }
    }

    static INT_PTR handle(DialogWindow& dialog, HWND window, UINT message, WPARAM first,
                          LPARAM second) {
        switch (message) {
            case WM_INITDIALOG:
                ::SetWindowLongPtrW(window, DWLP_USER, second);
                dialog.window_ = HostWindow{reinterpret_cast<std::int64_t>(window)};
                dialog.opened();
                return TRUE;
            case WM_COMMAND: return command(dialog, window, LOWORD(first), HIWORD(first));
            case WM_VSCROLL:
                // An end-of-scroll notification is no step. The system handles the message too.
                if (const int bar = ::GetDlgCtrlID(reinterpret_cast<HWND>(second)); bar != 0) {
                    if (LOWORD(first) == SB_LINEUP) dialog.scrolled(ScrollStep::up, bar);
                    if (LOWORD(first) == SB_LINEDOWN) dialog.scrolled(ScrollStep::down, bar);
                }
                return FALSE;
            default: return FALSE;
        }
    }

    static INT_PTR command(DialogWindow& dialog, HWND window, int control, unsigned notification) {
        switch (notification) {
            case BN_CLICKED:
                if (control == kDialogOk) {
                    if (const int edit = focusedEdit(window); edit != 0) dialog.editLeft(edit);
                }
                dialog.clicked(control);
                return TRUE;
            case CBN_SELCHANGE: dialog.selectionChanged(control); return TRUE;
            case EN_KILLFOCUS: dialog.editLeft(control); return TRUE;
            default: return FALSE;
        }
    }
};

int DialogWindow::run(int templateId, HostWindow owner) noexcept {
    const INT_PTR result =
        ::DialogBoxParamW(instanceHandle(), MAKEINTRESOURCEW(templateId), ownerOf(owner),
                          DialogProcedure::entry, reinterpret_cast<LPARAM>(this));
    window_ = HostWindow::none;
    return result == kDialogOk ? kDialogOk : kDialogCancel;
}

void DialogWindow::end(int result) noexcept { ::EndDialog(windowOf(window_), result); }

std::string DialogWindow::text(int control, std::size_t limit) const {
    std::wstring wide(limit + 1, L'\0');
    wide.resize(
        ::GetDlgItemTextW(windowOf(window_), control, wide.data(), static_cast<int>(wide.size())));
    std::string ascii(wide.size(), '?');
    std::transform(wide.begin(), wide.end(), ascii.begin(),
                   [](wchar_t c) { return c < 0x80 ? static_cast<char>(c) : '?'; });
    return ascii;
}

void DialogWindow::setText(int control, std::string_view ascii) {
    ::SetDlgItemTextW(windowOf(window_), control, std::wstring(ascii.begin(), ascii.end()).c_str());
}

bool DialogWindow::modified(int edit) const noexcept {
    return ::SendMessageW(controlOf(window_, edit), EM_GETMODIFY, 0, 0) != 0;
}

void DialogWindow::clearModified(int edit) noexcept {
    ::SendMessageW(controlOf(window_, edit), EM_SETMODIFY, FALSE, 0);
}

bool DialogWindow::checked(int button) const noexcept {
    return ::IsDlgButtonChecked(windowOf(window_), button) == BST_CHECKED;
}

void DialogWindow::setChecked(int button, bool checked) noexcept {
    ::CheckDlgButton(windowOf(window_), button, checked ? BST_CHECKED : BST_UNCHECKED);
}

void DialogWindow::addEntry(int list, unsigned textId) noexcept {
    std::array<wchar_t, 256> entry{};
    ::LoadStringW(instanceHandle(), textId, entry.data(), static_cast<int>(entry.size()));
    ::SendMessageW(controlOf(window_, list), CB_ADDSTRING, 0,
                   reinterpret_cast<LPARAM>(entry.data()));
}

int DialogWindow::selection(int list) const noexcept {
    HWND control = controlOf(window_, list);
    if (control == nullptr) return -1;
    return static_cast<int>(::SendMessageW(control, CB_GETCURSEL, 0, 0));
}

void DialogWindow::select(int list, int entry) noexcept {
    // An entry that the list lacks clears the selection.
    ::SendMessageW(controlOf(window_, list), CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
}

void DialogWindow::setEnabled(int control, bool enabled) noexcept {
    ::EnableWindow(controlOf(window_, control), enabled ? TRUE : FALSE);
}

void DialogWindow::setVisible(int control, bool visible) noexcept {
    ::ShowWindow(controlOf(window_, control), visible ? SW_SHOW : SW_HIDE);
}

}  // namespace vynpack::platform
