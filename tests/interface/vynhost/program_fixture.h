// The program itself, started by a shell as users start it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "interface/vynhost/diagram_fixture.h"
#include "vynhost/base/text.h"

namespace vynhost::test {

class ProgramTest : public DiagramTest {
protected:
    struct Outcome {
        int code;
        std::string out;
        std::string error;
    };
    Outcome vynhost(const std::string& arguments) const;
    static inline const std::string kLineEnd = platform::kHasDialogs ? "\r\n" : "\n";
    std::string at(const std::string& name) const { return "\"" + textOf(folder() / name) + "\""; }

    // A table with a head: its columns, by the name before the unit. What is no number is NaN.
    using Columns = std::map<std::string, std::vector<double>>;
    Columns tableOf(const std::string& name) const;
    // A table whose rows have a name in the first column: the rows' numbers.
    Columns rowsOf(const std::string& name) const;
};

}  // namespace vynhost::test
