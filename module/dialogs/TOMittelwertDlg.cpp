#include "dialogs/TOMittelwertDlg.h"

#include "dialogs/TOMittelwertDlgIds.h"

namespace vynpack {

TOMittelwertDlg::TOMittelwertDlg(TOMittelwert& block) noexcept
    : CDialog(IDD_MITTELWERT, IDB_MITTELWERT_HELP), block_(block) {}

void TOMittelwertDlg::OnInitDialog() {
    const AveragingDraft draft = draftOf(block_.parameters());
    checkRadio(IDR_MITTELWERT_REDUCE, IDR_MITTELWERT_BLOCKS, draft.mode);
    setText(IDE_MITTELWERT_REDUCE, draft.reduceValue);
    setText(IDE_MITTELWERT_SMOOTH, draft.smoothingWidth);
    setText(IDE_MITTELWERT_FACTOR, draft.weightingFactor);
    checkRadio(IDR_MITTELWERT_RESET_NEVER, IDR_MITTELWERT_RESET_COUNT, draft.resetMode);
    setText(IDE_MITTELWERT_COUNT, draft.resetBlockCount);
    setChecked(IDX_MITTELWERT_AT_RESET, draft.atResetOnly);
    applyRules();
}

void TOMittelwertDlg::OnOK() {
    // Kept: everything is written before it is checked; what was refused stays in the block even if
    // the user then cancels.
    accept(readControls(), block_.parameters());
    if (const auto fault = faultOf(block_.parameters())) {
        warn(kTextError, *fault);
        return;
    }
    CDialog::OnOK();
}

void TOMittelwertDlg::OnClicked(int) { applyRules(); }

void TOMittelwertDlg::OnVScroll(ScrollStep step, int scrollBar) {
    constexpr SpinRange kFactor{.step = 0.01, .lowest = 0.0, .highest = 1.0};
    switch (scrollBar) {
        case IDS_MITTELWERT_REDUCE: return stepCount(IDE_MITTELWERT_REDUCE, step);
        case IDS_MITTELWERT_SMOOTH: return stepCount(IDE_MITTELWERT_SMOOTH, step);
        case IDS_MITTELWERT_COUNT: return stepCount(IDE_MITTELWERT_COUNT, step);
        case IDS_MITTELWERT_FACTOR:
            setText(IDE_MITTELWERT_FACTOR,
                    showStepped(number(IDE_MITTELWERT_FACTOR), step, kFactor));
            break;
        default: break;
    }
}

AveragingDraft TOMittelwertDlg::readControls() const {
    auto& stored = block_.parameters();
    return {.mode = checkedRadio(IDR_MITTELWERT_REDUCE, IDR_MITTELWERT_BLOCKS, stored.mode),
            .resetMode = checkedRadio(IDR_MITTELWERT_RESET_NEVER, IDR_MITTELWERT_RESET_COUNT,
                                      stored.resetMode),
            .reduceValue = number(IDE_MITTELWERT_REDUCE),
            .smoothingWidth = number(IDE_MITTELWERT_SMOOTH),
            .weightingFactor = number(IDE_MITTELWERT_FACTOR),
            .resetBlockCount = number(IDE_MITTELWERT_COUNT),
            .atResetOnly = checked(IDX_MITTELWERT_AT_RESET)};
}

void TOMittelwertDlg::applyRules() {
    const AveragingDraft draft = readControls();
    setEnabled({IDT_MITTELWERT_REDUCE, IDE_MITTELWERT_REDUCE, IDS_MITTELWERT_REDUCE},
               draft.reduceOffered());
    setEnabled({IDT_MITTELWERT_SMOOTH, IDE_MITTELWERT_SMOOTH, IDS_MITTELWERT_SMOOTH},
               draft.smoothingOffered());
    setEnabled(
        {IDT_MITTELWERT_FACTOR, IDE_MITTELWERT_FACTOR, IDS_MITTELWERT_FACTOR, IDG_MITTELWERT_RESET,
         IDR_MITTELWERT_RESET_NEVER, IDR_MITTELWERT_RESET_TRIGGER, IDR_MITTELWERT_RESET_COUNT},
        draft.blocksOffered());
    setEnabled({IDT_MITTELWERT_COUNT, IDE_MITTELWERT_COUNT, IDS_MITTELWERT_COUNT},
               draft.resetCountOffered());
    setEnabled(IDX_MITTELWERT_AT_RESET, draft.atResetOnlyOffered());
}

void TOMittelwertDlg::stepCount(int edit, ScrollStep step) {
    setText(edit, steppedCount(number(edit), step));
}

int TOMittelwert::GetParameters() {
    TOMittelwertDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
