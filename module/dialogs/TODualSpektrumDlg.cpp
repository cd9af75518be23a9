#include "dialogs/TODualSpektrumDlg.h"

#include "blocks/spectral/TODualSpektrum.h"

#include "dialogs/TODualSpektrumDlgIds.h"
#include "dialogs/window_rules.h"

namespace vynpack {
namespace {

struct DualSpin {
    int arrows;
    int edit;
    SpinRange range;
};

constexpr DualSpin kSpins[] = {
    {IDS_DUALSPEKTRUM_FACTOR, IDE_DUALSPEKTRUM_FACTOR, kDualFactorSpin},
    {IDS_DUALSPEKTRUM_COUNT, IDE_DUALSPEKTRUM_COUNT, kDualCountSpin},
    {IDS_DUALSPEKTRUM_PARAMETER, IDE_DUALSPEKTRUM_PARAMETER, kDualParameterSpin}};

}  // namespace

TODualSpektrumDlg::TODualSpektrumDlg(TODualSpektrum& block) noexcept
    : CDialog(IDD_DUALSPEKTRUM, IDB_DUALSPEKTRUM_HELP), block_(block) {}

void TODualSpektrumDlg::OnInitDialog() {
    rewriteForDialog(block_.parameters());
    const DualSpectrumDraft draft = draftOf(block_.parameters());
    fillLists();
    select(IDC_DUALSPEKTRUM_AMPLITUDE_TYPE, draft.amplitudeEntry);
    checkRadio(IDR_DUALSPEKTRUM_CROSS, IDR_DUALSPEKTRUM_TRANSFER, draft.quantity);
    select(IDC_DUALSPEKTRUM_TRANSFER_TYPE, draft.transferEntry);
    setChecked(IDX_DUALSPEKTRUM_PHASE, draft.phase);
    setChecked(IDX_DUALSPEKTRUM_COHERENCE, draft.coherence);
    select(IDC_DUALSPEKTRUM_WINDOW, draft.windowEntry);
    checkRadio(IDR_DUALSPEKTRUM_CORRECTION_NONE, IDR_DUALSPEKTRUM_CORRECTION_PERIODIC,
               draft.correction);
    setText(IDE_DUALSPEKTRUM_PARAMETER, draft.windowParameter);
    select(IDC_DUALSPEKTRUM_AVERAGE_TYPE, draft.averageTypeEntry);
    select(IDC_DUALSPEKTRUM_AVERAGE_SOURCE, draft.averageSourceEntry);
    setText(IDE_DUALSPEKTRUM_FACTOR, draft.averageFactor);
    checkRadio(IDR_DUALSPEKTRUM_RESET_NEVER, IDR_DUALSPEKTRUM_RESET_COUNT, draft.resetMode);
    setText(IDE_DUALSPEKTRUM_COUNT, draft.resetCount);
    setChecked(IDX_DUALSPEKTRUM_AT_RESET, draft.dataOnReset);
    applyRules();
}

void TODualSpektrumDlg::OnOK() {
    accept(readControls(), block_.parameters());
    CDialog::OnOK();
}

void TODualSpektrumDlg::OnClicked(int) { applyRules(); }

void TODualSpektrumDlg::OnSelectionChanged(int) { applyRules(); }

void TODualSpektrumDlg::OnVScroll(ScrollStep step, int scrollBar) {
    for (const DualSpin& spin : kSpins) {
        if (spin.arrows != scrollBar) continue;
        setText(spin.edit, showStepped(number(spin.edit), step, spin.range));
    }
}

void TODualSpektrumDlg::fillLists() {
    addEntries(IDC_DUALSPEKTRUM_AMPLITUDE_TYPE, kPeak, kAutoSpectrum);
    addEntry(IDC_DUALSPEKTRUM_AMPLITUDE_TYPE, kRealImaginary);
    addEntries(IDC_DUALSPEKTRUM_TRANSFER_TYPE, kTransferH0, kTransferH2);
    addEntries(IDC_DUALSPEKTRUM_WINDOW, kNoWindow, kRiemannWindow);
    // Kept: minimum and maximum stand crossed, since the text of the type that computes the minimum
    // speaks of the maximum.
    for (const AverageType text : {kNoAveraging, kArithmeticAveraging, kExponentialAveraging,
                                   kMaximumAveraging, kMinimumAveraging, kWeightedAveraging}) {
        addEntry(IDC_DUALSPEKTRUM_AVERAGE_TYPE, text);
    }
    addEntries(IDC_DUALSPEKTRUM_AVERAGE_SOURCE, kAverageAmplitude, kAveragePower);
}

DualSpectrumDraft TODualSpektrumDlg::readControls() const {
    const auto& stored = block_.parameters();
    return {.amplitudeEntry = selection(IDC_DUALSPEKTRUM_AMPLITUDE_TYPE),
            .quantity =
                checkedRadio(IDR_DUALSPEKTRUM_CROSS, IDR_DUALSPEKTRUM_TRANSFER, stored.quantity),
            .transferEntry = selection(IDC_DUALSPEKTRUM_TRANSFER_TYPE),
            .phase = checked(IDX_DUALSPEKTRUM_PHASE),
            .coherence = checked(IDX_DUALSPEKTRUM_COHERENCE),
            .windowEntry = selection(IDC_DUALSPEKTRUM_WINDOW),
            .correction = checkedRadio(IDR_DUALSPEKTRUM_CORRECTION_NONE,
                                       IDR_DUALSPEKTRUM_CORRECTION_PERIODIC, stored.correction),
            .windowParameter = number(IDE_DUALSPEKTRUM_PARAMETER),
            .averageTypeEntry = selection(IDC_DUALSPEKTRUM_AVERAGE_TYPE),
            .averageSourceEntry = selection(IDC_DUALSPEKTRUM_AVERAGE_SOURCE),
            .averageFactor = number(IDE_DUALSPEKTRUM_FACTOR),
            .resetMode = checkedRadio(IDR_DUALSPEKTRUM_RESET_NEVER, IDR_DUALSPEKTRUM_RESET_COUNT,
                                      stored.resetMode),
            .resetCount = number(IDE_DUALSPEKTRUM_COUNT),
            .dataOnReset = checked(IDX_DUALSPEKTRUM_AT_RESET)};
}

void TODualSpektrumDlg::applyRules() {
    const DualSpectrumDraft draft = readControls();
    setEnabled(IDX_DUALSPEKTRUM_PHASE, draft.phaseOffered());
    setEnabled(IDC_DUALSPEKTRUM_TRANSFER_TYPE, draft.transferTypeOffered());
    setEnabled({IDG_DUALSPEKTRUM_CORRECTION, IDR_DUALSPEKTRUM_CORRECTION_NONE,
                IDR_DUALSPEKTRUM_CORRECTION_RANDOM, IDR_DUALSPEKTRUM_CORRECTION_PERIODIC},
               windowTakesCorrection(draft.window()));
    setEnabled({IDT_DUALSPEKTRUM_PARAMETER, IDE_DUALSPEKTRUM_PARAMETER, IDS_DUALSPEKTRUM_PARAMETER},
               windowTakesParameter(draft.window()));
    setEnabled({IDT_DUALSPEKTRUM_FACTOR, IDE_DUALSPEKTRUM_FACTOR, IDS_DUALSPEKTRUM_FACTOR},
               draft.averageFactorOffered());
    setEnabled({IDE_DUALSPEKTRUM_COUNT, IDS_DUALSPEKTRUM_COUNT}, draft.resetCountOffered());
    setEnabled(IDX_DUALSPEKTRUM_AT_RESET, draft.dataOnResetOffered());
}

int TODualSpektrum::GetParameters() {
    TODualSpektrumDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
