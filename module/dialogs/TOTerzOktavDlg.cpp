#include "dialogs/TOTerzOktavDlg.h"

#include <cstdint>

#include "dialogs/TOTerzOktavDlgIds.h"

namespace vynpack {
namespace {

// The list's texts; their ids are not those that are stored.
constexpr unsigned kTextThirdOctave = 20;
constexpr unsigned kTextOctave = 30;

}  // namespace

TOTerzOktavDlg::TOTerzOktavDlg(TOTerz_Oktave& block) noexcept
    : CDialog(IDD_TERZOKTAV, IDB_TERZOKTAV_HELP), block_(block) {}

void TOTerzOktavDlg::OnInitDialog() {
    const auto& parameters = block_.parameters();
    addEntry(IDC_TERZOKTAV_TYPE, kTextThirdOctave);
    addEntry(IDC_TERZOKTAV_TYPE, kTextOctave);
    select(IDC_TERZOKTAV_TYPE, parameters.analysisType - TOTerz_Oktave::Parameters::kThirdOctave);
    setChecked(IDX_TERZOKTAV_A_WEIGHTING, parameters.aWeighting != 0);
}

void TOTerzOktavDlg::OnOK() {
    auto& parameters = block_.parameters();
    // Kept: a list without a selection counts as entry -1, so that 19 is stored: octaves.
    parameters.analysisType = static_cast<std::int16_t>(selection(IDC_TERZOKTAV_TYPE) +
                                                        TOTerz_Oktave::Parameters::kThirdOctave);
    parameters.aWeighting = checked(IDX_TERZOKTAV_A_WEIGHTING) ? 1 : 0;
    CDialog::OnOK();
}

int TOTerz_Oktave::GetParameters() {
    TOTerzOktavDlg(*this).DoModal();
    return 0;
}

}  // namespace vynpack
