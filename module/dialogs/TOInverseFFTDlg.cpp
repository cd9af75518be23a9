#include "dialogs/TOInverseFFTDlg.h"

#include "dialogs/TOInverseFFTDlgIds.h"

namespace vynpack {

TOInverseFFTDlg::TOInverseFFTDlg() noexcept : CDialog(IDD_INVERSEFFT, IDB_INVERSEFFT_HELP) {}

}  // namespace vynpack
