// Modal dialogs from the templates of the module's own resources, and access to their controls.
// Where the system has no such dialogs, `runDialog` answers as if the user had cancelled at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/message.h"

namespace vynpack::platform {

// What a dialog answers when it closes; also the ids of the two buttons that close it.
inline constexpr int kDialogOk = 1;
inline constexpr int kDialogCancel = 2;

// One click on the arrow of a scroll bar.
enum class ScrollStep : std::int8_t { down = -1, up = 1 };

// One dialog while it is open. Controls are named by their ids; a control that the template lacks
// reads as empty, unchecked and unselected, and writing to it does nothing.
class DialogWindow {
public:
    DialogWindow() = default;
    DialogWindow(const DialogWindow&) = delete;
    DialogWindow& operator=(const DialogWindow&) = delete;

    // The dialog's own window, as the owner of message boxes.
    HostWindow window() const noexcept { return window_; }

protected:
    virtual ~DialogWindow() = default;

    // Shows the template's dialog until `end` is called; returns its result. A template that cannot
    // be shown answers as cancelled.
    int run(int templateId, HostWindow owner) noexcept;
    void end(int result) noexcept;

    // The controls exist; none is visible yet.
    virtual void opened() = 0;
    // A button was pressed; Return presses kDialogOk, Escape and the caption's cross kDialogCancel.
    virtual void clicked(int button) = 0;
    virtual void selectionChanged(int list) = 0;
    // The focus has left the edit, or Return was pressed in it.
    virtual void editLeft(int edit) = 0;
    virtual void scrolled(ScrollStep step, int scrollBar) = 0;

    // At most `limit` characters of the control's text; what is not ASCII reads as '?'.
    std::string text(int control, std::size_t limit) const;
    void setText(int control, std::string_view ascii);
    // Typed into since the text was last set or `clearModified` called.
    bool modified(int edit) const noexcept;
    void clearModified(int edit) noexcept;

    bool checked(int button) const noexcept;
    void setChecked(int button, bool checked) noexcept;

    // Appends a text of the string table.
    void addEntry(int list, unsigned textId) noexcept;
    // Entry numbers count from 0; -1 is "none", also for an entry that the list lacks.
    int selection(int list) const noexcept;
    void select(int list, int entry) noexcept;

    void setEnabled(int control, bool enabled) noexcept;
    void setVisible(int control, bool visible) noexcept;

private:
    friend struct DialogProcedure;  // the system's side, where there is one

    HostWindow window_ = HostWindow::none;
};

}  // namespace vynpack::platform
