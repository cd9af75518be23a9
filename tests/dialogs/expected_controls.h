// The dialogs as their users, scripts and translators know them: ids, kinds and texts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "dialogs/template_reader.h"

namespace dialog_test {

struct ExpectedControl {
    Kind kind;
    int id;
    std::string text;
};

struct ExpectedDialog {
    std::string name;
    int typeCode;
    int templateId;
    std::string caption;
    // Letters that the texts use more than once.
    std::string sharedLetters;
    std::vector<ExpectedControl> controls;
};

// Names the dialog in a test's output.
inline void PrintTo(const ExpectedDialog& dialog, std::ostream* out) { *out << dialog.name; }

const std::vector<ExpectedDialog>& expectedDialogs();

}  // namespace dialog_test
