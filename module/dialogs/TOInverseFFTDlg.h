// The dialog of the inverse FFT block, which has nothing to set.
#pragma once

#include "dialogs/CDialog.h"

namespace vynpack {

class TOInverseFFTDlg final : public CDialog {
public:
    TOInverseFFTDlg() noexcept;
};

}  // namespace vynpack
