#include "dialogs/TOStatistikDlg.h"

#include "blocks/stats/TOStatistik.h"

#include "dialogs/TOStatistikDlgIds.h"

namespace vynpack {
namespace {

int checkBoxOf(int measure) {
    return measure < kAMean ? IDX_STATISTIK_MEASURE_0 + measure
                            : IDX_STATISTIK_MEASURE_11 + measure - kAMean;
}

}  // namespace

TOStatistikDlg::TOStatistikDlg(TOStatistik& block) noexcept
    : CDialog(IDD_STATISTIK, IDB_STATISTIK_HELP), block_(block) {}

void TOStatistikDlg::OnInitDialog() {
    const StatisticsDraft draft = draftOf(block_.parameters());
    for (int measure = 0; measure < kStatistics; ++measure) {
        setChecked(checkBoxOf(measure), draft.selected.at(static_cast<std::size_t>(measure)));
    }
    checkRadio(IDR_STATISTIK_ONE_OUTPUT, IDR_STATISTIK_OUTPUT_PER_MEASURE, draft.outputMode);
}

void TOStatistikDlg::OnOK() {
    StatisticsDraft draft;
    for (int measure = 0; measure < kStatistics; ++measure) {
        draft.selected.at(static_cast<std::size_t>(measure)) = checked(checkBoxOf(measure));
    }
    draft.outputMode = checkedRadio(IDR_STATISTIK_ONE_OUTPUT, IDR_STATISTIK_OUTPUT_PER_MEASURE,
                                    block_.parameters().outputMode);
    block_.setActiveCount(accept(draft, block_.parameters()));
    CDialog::OnOK();
}

void TOStatistikDlg::OnClicked(int button) {
    if (button == IDB_STATISTIK_ALL_ON) checkAll(true);
    if (button == IDB_STATISTIK_ALL_OFF) checkAll(false);
}

void TOStatistikDlg::checkAll(bool checked) {
    for (int measure = 0; measure < kStatistics; ++measure) {
        setChecked(checkBoxOf(measure), checked);
    }
}

int TOStatistik::GetParameters() {
    TOStatistikDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
