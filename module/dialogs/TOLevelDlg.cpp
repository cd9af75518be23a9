#include "dialogs/TOLevelDlg.h"

#include "blocks/filter/TOLevel.h"

#include "dialogs/TOLevelDlgIds.h"

namespace vynpack {

TOLevelDlg::TOLevelDlg(TOLevel& block) noexcept
    : CDialog(IDD_LEVEL, IDB_LEVEL_HELP), block_(block) {}

void TOLevelDlg::OnInitDialog() {
    const LevelDraft draft = draftOf(block_.parameters());
    setText(IDE_LEVEL_BLANKING, draft.blankingPeriod);
    setText(IDE_LEVEL_FREQUENCY, draft.outputFrequency);
    checkRadio(IDR_LEVEL_PEAK, IDR_LEVEL_RMS, draft.rms ? IDR_LEVEL_RMS : IDR_LEVEL_PEAK);
    checkRadio(IDR_LEVEL_SLOW, IDR_LEVEL_IMPULSE, IDR_LEVEL_SLOW + draft.timeWeighting);
    checkRadio(IDR_LEVEL_CLOCK_1S, IDR_LEVEL_CLOCK_5S, IDR_LEVEL_CLOCK_1S + draft.clockPeriod);
    applySignalTypeRule();
}

void TOLevelDlg::OnOK() {
    const LevelDraft draft = readControls();
    if (const auto fault = faultOf(draft)) {
        warn(kTextErrorCaption, *fault);
        return;
    }
    accept(draft, block_.parameters());
    CDialog::OnOK();
}

void TOLevelDlg::OnClicked(int) { applySignalTypeRule(); }

void TOLevelDlg::OnVScroll(ScrollStep step, int scrollBar) {
    if (scrollBar == IDS_LEVEL_BLANKING) {
        setText(IDE_LEVEL_BLANKING, showStepped(number(IDE_LEVEL_BLANKING), step, kBlankingSpin));
    } else if (scrollBar == IDS_LEVEL_FREQUENCY) {
        setText(IDE_LEVEL_FREQUENCY,
                showStepped(number(IDE_LEVEL_FREQUENCY), step, kOutputFrequencySpin));
    }
}

LevelDraft TOLevelDlg::readControls() const {
    const auto& stored = block_.parameters();
    return {.rms = checked(IDR_LEVEL_RMS),
            .timeWeighting = checkedRadio(IDR_LEVEL_SLOW, IDR_LEVEL_IMPULSE,
                                          IDR_LEVEL_SLOW + stored.timeWeighting) -
                             IDR_LEVEL_SLOW,
            .clockPeriod = checkedRadio(IDR_LEVEL_CLOCK_1S, IDR_LEVEL_CLOCK_5S,
                                        IDR_LEVEL_CLOCK_1S + stored.clockPeriod) -
                           IDR_LEVEL_CLOCK_1S,
            .blankingPeriod = number(IDE_LEVEL_BLANKING),
            .outputFrequency = number(IDE_LEVEL_FREQUENCY)};
}

void TOLevelDlg::applySignalTypeRule() {
    setEnabled({IDG_LEVEL_TIME_WEIGHTING, IDR_LEVEL_SLOW, IDR_LEVEL_FAST, IDR_LEVEL_IMPULSE},
               readControls().timeWeightingOffered());
}

int TOLevel::GetParameters() { return TOLevelDlg(*this).DoModal(); }

}  // namespace vynpack
