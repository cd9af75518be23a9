#include "dialogs/pictures.h"

#include <functional>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test {
namespace {

struct Picture {
    int typeCode;
    const char* name;
    std::function<void(Dialog&)> prepare;  // brings every control to life, where the dialog can
};

void nothing(Dialog&) {}

}  // namespace

void writePictures(const std::string& folder) {
    const Picture pictures[] = {
        {vynhost::kKlassierung, "TOKlassierungDlg",
         [](Dialog& dialog) {
             dialog.choose(1130, 2);
             dialog.click(1015);
             dialog.choose(1012, 1);
         }},
        {vynhost::kTerzOktave, "TOTerzOktavDlg", nothing},
        {vynhost::kStatistik, "TOStatistikDlg",
         [](Dialog& dialog) {
             dialog.click(1030);
             dialog.click(1043);
         }},
        {vynhost::kMittelwert, "TOMittelwertDlg",
         [](Dialog& dialog) {
             dialog.click(1056);
             dialog.click(1061);
         }},
        {vynhost::kSpektrum, "TOSpektrumDlg", [](Dialog& dialog) { dialog.choose(1100, 6); }},
        {vynhost::kInverseFFT, "TOInverseFFTDlg", nothing},
        {vynhost::kDualSpektrum, "TODualSpektrumDlg",
         [](Dialog& dialog) {
             dialog.click(1119);
             dialog.click(1015);
             dialog.choose(1100, 6);
             dialog.choose(1137, 5);
         }},
        {vynhost::kDigitalFilter, "TODigitalFilterDlg",
         [](Dialog& dialog) {
             dialog.click(1265);
             dialog.click(1291);
             dialog.choose(1131, 2);
         }},
        {vynhost::kFreqWeight, "TOFreqWeightDlg", nothing},
        {vynhost::kLevel, "TOLevelDlg", nothing},
    };
    for (const Picture& picture : pictures) {
        const Block block(picture.typeCode);
        block.dialog([&](Dialog& dialog) {
            picture.prepare(dialog);
            dialog.picture(folder + "/" + picture.name + ".bmp");
            dialog.close();
        });
    }
}

}  // namespace dialog_test
