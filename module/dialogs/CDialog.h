// CDialog: a modal parameter dialog, built from a template of the module's own resources. One class
// per block type derives from it and moves values between the controls and a draft; what the values
// mean is decided by plain functions on the draft.
#pragma once

#include <initializer_list>
#include <string>

#include "platform/dialog.h"

namespace vynpack {

using platform::ScrollStep;

class CDialog : protected platform::DialogWindow {
public:
    // Shows the dialog until the user closes it; kDialogOk or kDialogCancel.
    int DoModal() noexcept;

protected:
    // `helpButton` asks the host for its help and leaves the dialog open.
    CDialog(int templateId, int helpButton) noexcept
        : templateId_(templateId), helpButton_(helpButton) {}
    ~CDialog() override = default;

    // The controls are to be filled.
    virtual void OnInitDialog() {}
    // OK was pressed; an override that finds nothing wrong calls this to close the dialog.
    virtual void OnOK() { end(platform::kDialogOk); }
    virtual void OnCancel() { end(platform::kDialogCancel); }
    // Another button was pressed.
    virtual void OnClicked(int /*button*/) {}
    virtual void OnSelectionChanged(int /*list*/) {}
    // An edit was left, with the focus or by Return.
    virtual void OnEditLeft(int /*edit*/) {}
    virtual void OnVScroll(ScrollStep /*step*/, int /*scrollBar*/) {}

    // The text of an edit, as far as numbers need it.
    static constexpr std::size_t kNumberLength = 256;
    std::string number(int edit) const { return text(edit, kNumberLength); }

    // Radio buttons with consecutive ids: the checked one, or `otherwise` when none is.
    int checkedRadio(int first, int last, int otherwise) const noexcept;
    // Checks one of them and unchecks the others; an id outside leaves none checked.
    void checkRadio(int first, int last, int button) noexcept;

    // Appends the texts with consecutive ids to a list.
    void addEntries(int list, unsigned firstText, unsigned lastText) noexcept;

    void setEnabled(std::initializer_list<int> controls, bool enabled) noexcept;
    void setVisible(std::initializer_list<int> controls, bool visible) noexcept;
    using DialogWindow::setEnabled;
    using DialogWindow::setVisible;

    // A message box above the dialog: texts of the string table, with the exclamation icon.
    void warn(unsigned captionId, unsigned textId) const noexcept;

private:
    void opened() final { OnInitDialog(); }
    void clicked(int button) final;
    void selectionChanged(int list) final { OnSelectionChanged(list); }
    void editLeft(int edit) final { OnEditLeft(edit); }
    void scrolled(ScrollStep step, int scrollBar) final { OnVScroll(step, scrollBar); }

    int templateId_;
    int helpButton_;
};

}  // namespace vynpack
