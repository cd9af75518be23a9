// The dialog of the dual spectrum block.
#pragma once

#include "dialogs/CDialog.h"
#include "dialogs/dual_spektrum_draft.h"

namespace vynpack {

class TODualSpektrumDlg final : public CDialog {
public:
    explicit TODualSpektrumDlg(TODualSpektrum& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnClicked(int button) override;
    void OnSelectionChanged(int list) override;
    void OnVScroll(ScrollStep step, int scrollBar) override;

    void fillLists();
    DualSpectrumDraft readControls() const;
    void applyRules();

    TODualSpektrum& block_;
};

}  // namespace vynpack
