#include "dialogs/TOSpektrumDlg.h"

#include "blocks/spectral/TOSpektrum.h"

#include "dialogs/TOSpektrumDlgIds.h"
#include "dialogs/dialog_numbers.h"
#include "dialogs/window_rules.h"

namespace vynpack {

TOSpektrumDlg::TOSpektrumDlg(TOSpektrum& block) noexcept
    : CDialog(IDD_SPEKTRUM, IDB_SPEKTRUM_HELP), block_(block) {}

void TOSpektrumDlg::OnInitDialog() {
    const SpectrumDraft draft = draftOf(block_.parameters());
    addEntries(IDC_SPEKTRUM_AMPLITUDE_TYPE, kPeak, kRealImaginary);
    select(IDC_SPEKTRUM_AMPLITUDE_TYPE, draft.amplitudeEntry);
    setChecked(IDX_SPEKTRUM_PHASE, draft.phase);
    applyAmplitudeRule();
    addEntries(IDC_SPEKTRUM_WINDOW, kNoWindow, kRiemannWindow);
    select(IDC_SPEKTRUM_WINDOW, draft.windowEntry);
    applyWindowRule();
    setText(IDE_SPEKTRUM_PARAMETER, draft.windowParameter);
    checkRadio(IDR_SPEKTRUM_CORRECTION_NONE, IDR_SPEKTRUM_CORRECTION_PERIODIC, draft.correction);
}

void TOSpektrumDlg::OnOK() {
    accept(readControls(), block_.parameters());
    CDialog::OnOK();
}

void TOSpektrumDlg::OnSelectionChanged(int list) {
    if (list == IDC_SPEKTRUM_AMPLITUDE_TYPE) applyAmplitudeRule();
    if (list == IDC_SPEKTRUM_WINDOW) applyWindowRule();
}

void TOSpektrumDlg::OnVScroll(ScrollStep step, int scrollBar) {
    // Kept: steps are taken from the edit's own id, and the arrows beside it have another one; they
    // leave the number unchanged.
    if (scrollBar != IDE_SPEKTRUM_PARAMETER) return;
    constexpr SpinRange kParameter{.step = 1.0, .lowest = 0.0, .highest = 100.0};
    setText(IDE_SPEKTRUM_PARAMETER,
            showStepped(text(IDE_SPEKTRUM_PARAMETER, kWindowParameterLength), step, kParameter));
}

SpectrumDraft TOSpektrumDlg::readControls() const {
    return {
        .amplitudeEntry = selection(IDC_SPEKTRUM_AMPLITUDE_TYPE),
        .windowEntry = selection(IDC_SPEKTRUM_WINDOW),
        .phase = checked(IDX_SPEKTRUM_PHASE),
        .correction = checkedRadio(IDR_SPEKTRUM_CORRECTION_NONE, IDR_SPEKTRUM_CORRECTION_PERIODIC,
                                   block_.parameters().correction),
        .windowParameter = text(IDE_SPEKTRUM_PARAMETER, kWindowParameterLength)};
}

void TOSpektrumDlg::applyAmplitudeRule() {
    setEnabled(IDX_SPEKTRUM_PHASE, readControls().phaseOffered());
}

void TOSpektrumDlg::applyWindowRule() {
    const int window = readControls().window();
    setEnabled({IDG_SPEKTRUM_CORRECTION, IDR_SPEKTRUM_CORRECTION_NONE,
                IDR_SPEKTRUM_CORRECTION_RANDOM, IDR_SPEKTRUM_CORRECTION_PERIODIC},
               windowTakesCorrection(window));
    setEnabled({IDS_SPEKTRUM_PARAMETER, IDE_SPEKTRUM_PARAMETER, IDT_SPEKTRUM_PARAMETER},
               windowTakesParameter(window));
}

int TOSpektrum::GetParameters() {
    TOSpektrumDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
