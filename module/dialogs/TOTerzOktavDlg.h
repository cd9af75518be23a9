// The dialog of the third-octave and octave analysis block.
#pragma once

#include "blocks/spectral/TOTerz_Oktave.h"
#include "dialogs/CDialog.h"

namespace vynpack {

class TOTerzOktavDlg final : public CDialog {
public:
    explicit TOTerzOktavDlg(TOTerz_Oktave& block) noexcept;

private:
    void OnInitDialog() override;
    void OnOK() override;

    TOTerz_Oktave& block_;
};

}  // namespace vynpack
