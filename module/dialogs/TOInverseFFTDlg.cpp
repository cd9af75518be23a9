#include "dialogs/TOInverseFFTDlg.h"

#include "blocks/spectral/TOInverseFFT.h"

#include "dialogs/TOInverseFFTDlgIds.h"

namespace vynpack {

TOInverseFFTDlg::TOInverseFFTDlg() noexcept : CDialog(IDD_INVERSEFFT, IDB_INVERSEFFT_HELP) {}

int TOInverseFFT::GetParameters() {
    TOInverseFFTDlg().DoModal();
    return 0;
}

}  // namespace vynpack
