// The dialog of the digital filter block.
#pragma once

#include "dialogs/CDialog.h"
#include "dialogs/digital_filter_draft.h"

namespace vynpack {

class TODigitalFilterDlg final : public CDialog {
public:
    explicit TODigitalFilterDlg(TODigitalFilter& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnClicked(int button) override;
    void OnSelectionChanged(int list) override;
    void OnVScroll(ScrollStep step, int scrollBar) override;

    FilterDraft readControls() const;
    void writeEdits(const FilterDraft& draft);
    void applyRules();

    TODigitalFilter& block_;
};

}  // namespace vynpack
