// The help as pages: what `vynhost help` prints, the manual pages, and the shell's completion. All
// of them are made of the program's own options and of the topics.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vynhost/command/help_topics.h"

namespace vynhost {

struct OptionHelp {
    std::string names;     // "-q,--quiet", or "RECORDING" of one that has none
    std::string argument;  // "FILE"; empty of a flag
    std::string text;
    std::vector<std::string> choices =
        {};  // what the argument may be, where it is one of some words
    bool required = false;
    bool many = false;  // may be given more than once

    bool isPositional() const noexcept { return !names.starts_with('-'); }
};

struct CommandHelp {
    std::string name;
    std::string text;
    std::vector<OptionHelp> options;
};

struct ProgramHelp {
    std::string version;
    std::string text;
    std::vector<OptionHelp> options;
    std::vector<CommandHelp> commands;
};

// Null when there is none of this name.
const HelpTopic* helpTopic(std::string_view name);

// For a terminal, in the spoken language.
std::string topicText(const HelpTopic& topic);
// The topics there are, a line each.
std::string topicList();

// In roff, in the spoken language: vynhost(1) and vynhost-diagram(5).
std::string manualPage(const ProgramHelp& program);
std::string diagramPage(const ProgramHelp& program);

// Completion of commands, options and files for bash.
std::string bashCompletion(const ProgramHelp& program);

}  // namespace vynhost
