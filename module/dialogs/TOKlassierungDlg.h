// The dialog of the classification block.
#pragma once

#include "dialogs/CDialog.h"
#include "dialogs/klassierung_draft.h"

namespace vynpack {

class TOKlassierungDlg final : public CDialog {
public:
    explicit TOKlassierungDlg(TOKlassierung& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnClicked(int button) override;
    void OnSelectionChanged(int list) override;
    void OnEditLeft(int edit) override;
    void OnVScroll(ScrollStep step, int scrollBar) override;

    ClassificationDraft readControls() const;
    void applyRules();
    void stepValue(int edit, ScrollStep step, double lowest);
    // Follows a change in one of the edits for class values.
    void keepConsistent(int edit);

    TOKlassierung& block_;
};

}  // namespace vynpack
