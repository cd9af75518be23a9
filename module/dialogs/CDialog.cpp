#include "dialogs/CDialog.h"

#include "host/TOGlobal.h"
#include "host/host_messages.h"
#include "host/show_message.h"

namespace vynpack {

int CDialog::DoModal() noexcept { return run(templateId_, theGlobal().hostWindow()); }

void CDialog::clicked(int button) {
    if (button == platform::kDialogOk) {
        OnOK();
    } else if (button == platform::kDialogCancel) {
        OnCancel();
    } else if (button == helpButton_) {
        host_message::showHelp();
    } else {
        OnClicked(button);
    }
}

int CDialog::checkedRadio(int first, int last, int otherwise) const noexcept {
    for (int button = first; button <= last; ++button) {
        if (checked(button)) return button;
    }
    return otherwise;
}

void CDialog::checkRadio(int first, int last, int button) noexcept {
    for (int each = first; each <= last; ++each) {
        setChecked(each, each == button);
    }
}

void CDialog::addEntries(int list, unsigned firstText, unsigned lastText) noexcept {
    for (unsigned text = firstText; text <= lastText; ++text) {
        addEntry(list, text);
    }
}

void CDialog::setEnabled(std::initializer_list<int> controls, bool enabled) noexcept {
    for (const int control : controls) {
        setEnabled(control, enabled);
    }
}

void CDialog::setVisible(std::initializer_list<int> controls, bool visible) noexcept {
    for (const int control : controls) {
        setVisible(control, visible);
    }
}

void CDialog::warn(unsigned captionId, unsigned textId) const noexcept {
    ShowMessage(window(), kBoxExclamation, captionId, textId);
}

}  // namespace vynpack
