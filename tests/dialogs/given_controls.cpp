#include "dialogs/given_controls.h"

namespace dialog_test {

const std::vector<GivenDialog>& givenDialogs() {
    using enum Kind;
    static const std::vector<GivenDialog> dialogs = {
        {"Spektrum",
         5004,
         107,
         "FFT",
         "",
         {{defaultButton, 1, "&OK"},
          {pushButton, 2, "&Abbrechen"},
          {pushButton, 1107, "&Hilfe"},
          {group, 1105, "Spektrum"},
          {list, 1099, ""},
          {checkBox, 1101, "Phase"},
          {group, -1, "Bestimmung der Fenster-Funktion"},
          {list, 1100, ""},
          {label, 1114, "Parameter"},
          {edit, 1113, ""},
          {arrows, 1112, ""},
          {group, 1106, "Korrektur der Amplitudendämpfung"},
          {radio, 1102, "Keine"},
          {radio, 1103, "Zufall"},
          {radio, 1104, "Periodisch"}}},
        {"InverseFFT",
         5005,
         111,
         "Inverse FFT",
         "",
         {{defaultButton, 1, "OK"}, {pushButton, 9, "&Hilfe"}, {label, -1, "Keine Parameter"}}},
    };
    return dialogs;
}

}  // namespace dialog_test
