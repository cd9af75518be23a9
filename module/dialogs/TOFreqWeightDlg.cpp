#include "dialogs/TOFreqWeightDlg.h"

#include <cstdint>

#include "dialogs/TOFreqWeightDlgIds.h"

namespace vynpack {

TOFreqWeightDlg::TOFreqWeightDlg(TOFreqWeight& block) noexcept
    : CDialog(IDD_FREQWEIGHT, IDB_FREQWEIGHT_HELP), block_(block) {}

void TOFreqWeightDlg::OnInitDialog() {
    checkRadio(IDR_FREQWEIGHT_LINEAR, IDR_FREQWEIGHT_C,
               IDR_FREQWEIGHT_LINEAR + block_.parameters().weighting);
}

void TOFreqWeightDlg::OnOK() {
    auto& weighting = block_.parameters().weighting;
    weighting = static_cast<std::int16_t>(
        checkedRadio(IDR_FREQWEIGHT_LINEAR, IDR_FREQWEIGHT_C, IDR_FREQWEIGHT_LINEAR + weighting) -
        IDR_FREQWEIGHT_LINEAR);
    CDialog::OnOK();
}

int TOFreqWeight::GetParameters() {
    TOFreqWeightDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
