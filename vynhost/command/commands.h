// Commands whose work is a few steps of other rooms: what they take from the command line, and what
// they do with it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "vynhost/command/dialog_command.h"

namespace vynhost {

struct ListArguments {
    std::string type;
    bool json = false;
    bool markdown = false;
};

struct SkeletonArguments {
    std::vector<std::string> types;
};

struct RunArguments {
    std::string diagram;
    std::vector<std::string> inputs;  // NAME=FILE
    std::string out = ".";
    std::string csv = "en";
    std::string report;
    double memory = 1;  // GiB
    bool force = false;
    bool quiet = false;
    bool noProgress = false;
    bool totals = false;
    std::vector<std::string> each;  // NAME=FILES: a batch
    int jobs = 0;
    bool resume = false;
};

// The one line that an error is, on standard error.
void complain(std::string_view text);

// Each says on standard output what there is to say and returns the exit code. Raise RunError,
// ModuleError.
int list(const ListArguments& arguments);
int skeleton(const SkeletonArguments& arguments);
int run(const RunArguments& arguments);
int dialog(const DialogArguments& arguments);

}  // namespace vynhost
