// The command `validate`: findings as text or JSON.
#pragma once

#include <ostream>
#include <string>

namespace vynhost {

struct ValidateArguments {
    std::string module;  // empty: the installed one
    int level = 5;
    unsigned seed = 1;
    std::string check;  // checks whose names begin so
    bool json = false;
    std::string worker;  // the task of a process that the command has started itself
};

// The exit code: kSuccess, or kDifferent when a check has found something.
int validateModule(const ValidateArguments& arguments, std::ostream& out);

}  // namespace vynhost
