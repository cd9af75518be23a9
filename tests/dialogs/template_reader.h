// A dialog template as it lies in the module's resources.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dialog_test {

enum class Kind {
    pushButton,
    defaultButton,
    checkBox,
    radio,
    group,
    edit,
    label,
    list,
    arrows,
    other
};

struct TemplateControl {
    Kind kind = Kind::other;
    int id = 0;
    std::string text;  // with its "&"
    std::uint32_t style = 0;
    int x = 0, y = 0, width = 0, height = 0;  // dialog units
};

struct Template {
    std::string caption;
    std::string font;
    int fontSize = 0;
    int width = 0, height = 0;
    std::vector<TemplateControl> controls;  // in tab order
};

Template readTemplate(int id);

}  // namespace dialog_test
