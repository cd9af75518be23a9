// The dialog of the level block.
#pragma once

#include "dialogs/CDialog.h"
#include "dialogs/level_draft.h"

namespace vynpack {

class TOLevelDlg final : public CDialog {
public:
    explicit TOLevelDlg(TOLevel& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnClicked(int button) override;
    void OnVScroll(ScrollStep step, int scrollBar) override;

    LevelDraft readControls() const;
    void applySignalTypeRule();

    TOLevel& block_;
};

}  // namespace vynpack
