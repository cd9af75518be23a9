// Validates a module: every check in a process of its own kind, so that a crash is a finding.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "vynhost/interface/installation.h"

namespace vynhost {

struct ValidationOptions {
    int level = 5;
    unsigned seed = 1;
    std::string only;  // checks whose names begin so; empty: all
};

// "records" of "records.cut:5004". Checks of one group share a process until one finds something.
inline std::string groupOf(std::string_view name) {
    return std::string(name.substr(0, name.find('.')));
}

struct CheckResult {
    std::string name;      // group, matter, type or keyword: "records.cut:5004"
    std::string sentence;  // what must hold
    bool passed = false;
    std::string finding;             // one line; empty when it passed
    std::vector<std::string> story;  // what to do to see it, call by call
};

// Tells each result as it comes; gives the number of findings. Raises ModuleError when the module
// cannot even be asked what it offers, InputError when no check has such a name.
int validate(const Installation& installation, const ValidationOptions& options,
             const std::function<void(const CheckResult&)>& onResult);

// The process that does the work: `task` is "list", "work:FIRST:LAST", "alone:INDEX" or
// "digest:TYPE". Writes lines that begin with "@" for the process that has started it. Never
// returns with anything but success: a crash is told by the system.
int workAsValidator(const Installation& installation, const ValidationOptions& options,
                    const std::string& task, std::ostream& out);

}  // namespace vynhost
