#include "dialogs/TOKlassierungDlg.h"

#include "blocks/classify/TOKlassierung.h"

#include "dialogs/TOKlassierungDlgIds.h"

namespace vynpack {
namespace {

// One of the values that determine each other, and its edit.
struct ClassEdit {
    ClassValue value;
    int edit;
    double ClassValues::*member;
};

constexpr ClassEdit kClassEdits[] = {
    {ClassValue::number, IDE_KLASSIERUNG_NUMBER, &ClassValues::number},
    {ClassValue::begin, IDE_KLASSIERUNG_BEGIN, &ClassValues::begin},
    {ClassValue::end, IDE_KLASSIERUNG_END, &ClassValues::end},
    {ClassValue::width, IDE_KLASSIERUNG_WIDTH, &ClassValues::width},
    {ClassValue::range, IDE_KLASSIERUNG_RANGE, &ClassValues::range}};

std::string show(ClassValue value, double number) {
    return value == ClassValue::number ? showInteger(wholePart(number)) : showNumber(number);
}

}  // namespace

TOKlassierungDlg::TOKlassierungDlg(TOKlassierung& block) noexcept
    : CDialog(IDD_KLASSIERUNG, IDB_KLASSIERUNG_HELP), block_(block) {}

void TOKlassierungDlg::OnInitDialog() {
    const ClassificationDraft draft = draftOf(block_.parameters());
    addEntries(IDC_KLASSIERUNG_MODE, kAutomatic, kManual);
    select(IDC_KLASSIERUNG_MODE, draft.modeEntry);
    checkRadio(IDR_KLASSIERUNG_RELATIVE, IDR_KLASSIERUNG_ABSOLUTE, draft.calculation);
    addEntries(IDC_KLASSIERUNG_METHOD, kSampleCount, kSeparatePeaks);
    select(IDC_KLASSIERUNG_METHOD, draft.methodEntry);
    checkRadio(IDR_KLASSIERUNG_RESET_NEVER, IDR_KLASSIERUNG_RESET_COUNT, draft.resetMode);
    setText(IDE_KLASSIERUNG_COUNT, draft.resetBlocks);
    setText(IDE_KLASSIERUNG_NUMBER, draft.number);
    setText(IDE_KLASSIERUNG_BEGIN, draft.begin);
    setText(IDE_KLASSIERUNG_END, draft.end);
    setText(IDE_KLASSIERUNG_WIDTH, draft.width);
    setText(IDE_KLASSIERUNG_RANGE, draft.range);
    setText(IDE_KLASSIERUNG_HYSTERESIS, draft.hysteresis);
    setText(IDE_KLASSIERUNG_REFERENCE, draft.referenceLine);
    applyRules();
}

void TOKlassierungDlg::OnOK() {
    // Kept: everything is written before it is checked; what was refused stays in the block even if
    // the user then cancels.
    accept(readControls(), block_.parameters());
    if (const auto fault = faultOf(block_.parameters())) {
        warn(kTextError, *fault);
        return;
    }
    CDialog::OnOK();
}

void TOKlassierungDlg::OnClicked(int) { applyRules(); }

void TOKlassierungDlg::OnSelectionChanged(int) { applyRules(); }

void TOKlassierungDlg::OnEditLeft(int edit) {
    if (edit == IDE_KLASSIERUNG_HYSTERESIS) {
        setText(edit, tidyHysteresis(number(edit)));
    } else if (edit == IDE_KLASSIERUNG_REFERENCE) {
        setText(edit, showNumber(readNumber(number(edit))));
    } else if (modified(edit)) {
        clearModified(edit);
        keepConsistent(edit);
    }
}

void TOKlassierungDlg::OnVScroll(ScrollStep step, int scrollBar) {
    switch (scrollBar) {
        case IDS_KLASSIERUNG_COUNT:
            setText(IDE_KLASSIERUNG_COUNT, steppedClassCount(number(IDE_KLASSIERUNG_COUNT), step));
            break;
        case IDS_KLASSIERUNG_NUMBER:
            setText(IDE_KLASSIERUNG_NUMBER,
                    steppedClassCount(number(IDE_KLASSIERUNG_NUMBER), step));
            keepConsistent(IDE_KLASSIERUNG_NUMBER);
            break;
        case IDS_KLASSIERUNG_BEGIN:
            return stepValue(IDE_KLASSIERUNG_BEGIN, step, -kLargestClassValue);
        case IDS_KLASSIERUNG_END: return stepValue(IDE_KLASSIERUNG_END, step, -kLargestClassValue);
        case IDS_KLASSIERUNG_WIDTH: return stepValue(IDE_KLASSIERUNG_WIDTH, step, 0.0);
        case IDS_KLASSIERUNG_RANGE:
            return stepValue(IDE_KLASSIERUNG_RANGE, step, -kLargestClassValue);
        default: break;
    }
}

ClassificationDraft TOKlassierungDlg::readControls() const {
    const auto& stored = block_.parameters();
    return {.modeEntry = selection(IDC_KLASSIERUNG_MODE),
            .methodEntry = selection(IDC_KLASSIERUNG_METHOD),
            .calculation = checkedRadio(IDR_KLASSIERUNG_RELATIVE, IDR_KLASSIERUNG_ABSOLUTE,
                                        stored.calculation),
            .resetMode = checkedRadio(IDR_KLASSIERUNG_RESET_NEVER, IDR_KLASSIERUNG_RESET_COUNT,
                                      stored.resetMode),
            .number = number(IDE_KLASSIERUNG_NUMBER),
            .begin = number(IDE_KLASSIERUNG_BEGIN),
            .end = number(IDE_KLASSIERUNG_END),
            .width = number(IDE_KLASSIERUNG_WIDTH),
            .range = number(IDE_KLASSIERUNG_RANGE),
            .hysteresis = number(IDE_KLASSIERUNG_HYSTERESIS),
            .referenceLine = number(IDE_KLASSIERUNG_REFERENCE),
            .resetBlocks = number(IDE_KLASSIERUNG_COUNT)};
}

void TOKlassierungDlg::applyRules() {
    const ClassificationDraft draft = readControls();
    setEnabled(
        {IDE_KLASSIERUNG_BEGIN, IDE_KLASSIERUNG_END, IDE_KLASSIERUNG_WIDTH, IDE_KLASSIERUNG_RANGE,
         IDS_KLASSIERUNG_BEGIN, IDS_KLASSIERUNG_END, IDS_KLASSIERUNG_WIDTH, IDS_KLASSIERUNG_RANGE},
        draft.limitsOffered());
    setEnabled(IDE_KLASSIERUNG_HYSTERESIS, draft.hysteresisOffered());
    setEnabled(IDE_KLASSIERUNG_REFERENCE, draft.referenceLineOffered());
    setEnabled({IDE_KLASSIERUNG_COUNT, IDS_KLASSIERUNG_COUNT}, draft.resetBlocksOffered());
}

void TOKlassierungDlg::stepValue(int edit, ScrollStep step, double lowest) {
    const std::string text = number(edit);
    setText(edit, steppedClassLimit(text, step, lowest));
    // Kept: what exceeds the largest value is corrected in a control that another dialog has; the
    // edit itself keeps the value.
    if (stepped(text, step, 1.0) > kLargestClassValue) {
        setText(IDE_KLASSIERUNG_FOREIGN, showInteger(wholePart(kLargestClassValue)));
    }
    keepConsistent(edit);
}

void TOKlassierungDlg::keepConsistent(int edit) {
    const ClassValues before = readControls().classValues();
    for (const ClassEdit& changed : kClassEdits) {
        if (changed.edit != edit) continue;
        const ClassValues after = consistent(before, changed.value);
        for (const ClassEdit& each : kClassEdits) {
            // A valid entry stays as it was typed; what has not changed is not rounded.
            if (after.*each.member != before.*each.member) {
                setText(each.edit, show(each.value, after.*each.member));
            }
        }
    }
}

int TOKlassierung::GetParameters() {
    TOKlassierungDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
