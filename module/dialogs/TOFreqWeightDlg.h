// The dialog of the frequency weighting block: a choice of four curves.
#pragma once

#include "blocks/filter/TOFreqWeight.h"
#include "dialogs/CDialog.h"

namespace vynpack {

class TOFreqWeightDlg final : public CDialog {
public:
    explicit TOFreqWeightDlg(TOFreqWeight& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;

    TOFreqWeight& block_;
};

}  // namespace vynpack
