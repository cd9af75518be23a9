// The dialog of the averaging block.
#pragma once

#include "blocks/stats/TOMittelwert.h"
#include "dialogs/CDialog.h"
#include "dialogs/mittelwert_draft.h"

namespace vynpack {

class TOMittelwertDlg final : public CDialog {
public:
    explicit TOMittelwertDlg(TOMittelwert& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnClicked(int button) override;
    void OnVScroll(ScrollStep step, int scrollBar) override;

    AveragingDraft readControls() const;
    void applyRules();
    void stepCount(int edit, ScrollStep step);

    TOMittelwert& block_;
};

}  // namespace vynpack
