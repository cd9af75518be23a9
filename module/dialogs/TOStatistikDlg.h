// The dialog of the statistics block: a choice of measures, and how they leave the block.
#pragma once

#include "dialogs/CDialog.h"
#include "dialogs/statistik_draft.h"

namespace vynpack {

class TOStatistikDlg final : public CDialog {
public:
    explicit TOStatistikDlg(TOStatistik& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;
    void OnClicked(int button) override;

    void checkAll(bool checked);

    TOStatistik& block_;
};

}  // namespace vynpack
