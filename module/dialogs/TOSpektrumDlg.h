// The dialog of the spectrum block.
#pragma once

#include "dialogs/CDialog.h"
#include "dialogs/spektrum_draft.h"

namespace vynpack {

class TOSpektrumDlg final : public CDialog {
public:
    explicit TOSpektrumDlg(TOSpektrum& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnSelectionChanged(int list) override;
    void OnVScroll(ScrollStep step, int scrollBar) override;

    SpectrumDraft readControls() const;
    void applyAmplitudeRule();
    void applyWindowRule();

    TOSpektrum& block_;
};

}  // namespace vynpack
