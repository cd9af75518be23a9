#include "dialogs/TODigitalFilterDlg.h"

#include "blocks/filter/TODigitalFilter.h"

#include "dialogs/TODigitalFilterDlgIds.h"

namespace vynpack {
namespace {

using Filter = FilterDesign;

struct ModeButton {
    int button;
    int mode;
};

constexpr ModeButton kModeButtons[] = {{IDR_FILTER_LOW_PASS, Filter::kLowPass},
                                       {IDR_FILTER_HIGH_PASS, Filter::kHighPass},
                                       {IDR_FILTER_BAND_PASS, Filter::kBandPass},
                                       {IDR_FILTER_BAND_STOP, Filter::kBandStop}};

// Arrows, their edit, the step, and the smallest value that the check accepts in steps.
struct FilterSpin {
    int arrows;
    int edit;
    double step;
    double lowest;
};

constexpr FilterSpin kSpins[] = {{IDS_FILTER_LENGTH, IDE_FILTER_LENGTH, 2.0, 3.0},
                                 {IDS_FILTER_ORDER, IDE_FILTER_ORDER, 1.0, 1.0},
                                 {IDS_FILTER_RIPPLE, IDE_FILTER_RIPPLE, 0.1, 0.1},
                                 {IDS_FILTER_ATTENUATION, IDE_FILTER_ATTENUATION, 1.0, 1.0},
                                 {IDS_FILTER_CUTOFF, IDE_FILTER_CUTOFF, 1.0, 1.0},
                                 {IDS_FILTER_LOWER, IDE_FILTER_LOWER, 1.0, 1.0},
                                 {IDS_FILTER_UPPER, IDE_FILTER_UPPER, 1.0, 1.0}};

}  // namespace

TODigitalFilterDlg::TODigitalFilterDlg(TODigitalFilter& block) noexcept
    : CDialog(IDD_FILTER, IDB_FILTER_HELP), block_(block) {}

void TODigitalFilterDlg::OnInitDialog() {
    const FilterDraft draft = draftOf(block_.parameters());
    checkRadio(IDR_FILTER_FIR, IDR_FILTER_IIR, draft.fir ? IDR_FILTER_FIR : IDR_FILTER_IIR);
    addEntries(IDC_FILTER_WINDOW, Filter::kRectangular, Filter::kBlackman);
    select(IDC_FILTER_WINDOW, draft.windowEntry);
    setChecked(IDX_FILTER_KAISER, draft.kaiser);
    addEntries(IDC_FILTER_CHARACTERISTIC, Filter::kButterworth, Filter::kBessel);
    select(IDC_FILTER_CHARACTERISTIC, draft.characteristicEntry);
    for (const auto [button, mode] : kModeButtons) {
        setChecked(button, mode == draft.mode);
    }
    writeEdits(draft);
    applyRules();
}

void TODigitalFilterDlg::OnOK() {
    FilterDraft draft = readControls();
    const auto fault = check(draft);
    writeEdits(draft);
    if (fault) {
        warn(kTextErrorCaption, *fault);
        return;
    }
    accept(draft, block_.parameters());
    CDialog::OnOK();
}

void TODigitalFilterDlg::OnClicked(int) { applyRules(); }

void TODigitalFilterDlg::OnSelectionChanged(int) { applyRules(); }

void TODigitalFilterDlg::OnVScroll(ScrollStep step, int scrollBar) {
    for (const FilterSpin& spin : kSpins) {
        if (spin.arrows != scrollBar) continue;
        setText(spin.edit, steppedFilterValue(number(spin.edit), step, spin.step, spin.lowest));
    }
}

FilterDraft TODigitalFilterDlg::readControls() const {
    FilterDraft draft{.fir = checked(IDR_FILTER_FIR),
                      .windowEntry = selection(IDC_FILTER_WINDOW),
                      .kaiser = checked(IDX_FILTER_KAISER),
                      .characteristicEntry = selection(IDC_FILTER_CHARACTERISTIC),
                      .mode = 0,
                      .length = number(IDE_FILTER_LENGTH),
                      .order = number(IDE_FILTER_ORDER),
                      .ripple = number(IDE_FILTER_RIPPLE),
                      .attenuation = number(IDE_FILTER_ATTENUATION),
                      .cutoff = number(IDE_FILTER_CUTOFF),
                      .lower = number(IDE_FILTER_LOWER),
                      .upper = number(IDE_FILTER_UPPER)};
    for (const auto [button, mode] : kModeButtons) {
        if (checked(button)) draft.mode = mode;
    }
    return draft;
}

void TODigitalFilterDlg::writeEdits(const FilterDraft& draft) {
    setText(IDE_FILTER_LENGTH, draft.length);
    setText(IDE_FILTER_ORDER, draft.order);
    setText(IDE_FILTER_RIPPLE, draft.ripple);
    setText(IDE_FILTER_ATTENUATION, draft.attenuation);
    setText(IDE_FILTER_CUTOFF, draft.cutoff);
    setText(IDE_FILTER_LOWER, draft.lower);
    setText(IDE_FILTER_UPPER, draft.upper);
}

void TODigitalFilterDlg::applyRules() {
    const FilterDraft draft = readControls();
    setEnabled({IDG_FILTER_FIR, IDE_FILTER_LENGTH, IDS_FILTER_LENGTH, IDX_FILTER_KAISER,
                IDC_FILTER_WINDOW, IDT_FILTER_LENGTH, IDT_FILTER_WINDOW},
               draft.fir);
    setEnabled({IDG_FILTER_IIR, IDT_FILTER_CHARACTERISTIC, IDC_FILTER_CHARACTERISTIC,
                IDT_FILTER_ORDER, IDE_FILTER_ORDER, IDS_FILTER_ORDER},
               !draft.fir);
    setEnabled({IDT_FILTER_RIPPLE, IDE_FILTER_RIPPLE, IDS_FILTER_RIPPLE}, draft.rippleOffered());
    setEnabled({IDT_FILTER_ATTENUATION, IDE_FILTER_ATTENUATION, IDS_FILTER_ATTENUATION},
               draft.attenuationOffered());
    setVisible({IDT_FILTER_CUTOFF, IDE_FILTER_CUTOFF, IDS_FILTER_CUTOFF}, !draft.band());
    setVisible({IDT_FILTER_LOWER, IDE_FILTER_LOWER, IDS_FILTER_LOWER, IDT_FILTER_UPPER,
                IDE_FILTER_UPPER, IDS_FILTER_UPPER},
               draft.band());
}

int TODigitalFilter::GetParameters() { return TODigitalFilterDlg(*this).DoModal(); }

}  // namespace vynpack
