// The dialogs as their users, scripts and translators know them: ids, kinds and texts.
#pragma once

#include <string>
#include <vector>

#include "dialogs/template_reader.h"

namespace dialog_test {

struct GivenControl {
    Kind kind;
    int id;
    std::string text;
};

struct GivenDialog {
    std::string name;
    int typeCode;
    int templateId;
    std::string caption;
    // Letters that the texts use more than once.
    std::string sharedLetters;
    std::vector<GivenControl> controls;
};

const std::vector<GivenDialog>& givenDialogs();

}  // namespace dialog_test
