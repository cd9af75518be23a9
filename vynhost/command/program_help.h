// The program's help, made of its own options: on the terminal and as pages.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vynhost {

struct HelpArguments {
    std::string topic;
    std::string folder;  // of the pages, where they are to be written
};

// Says in a command's help what its options take: "--out FOLDER".
void nameArguments(CLI::App& command);

// The topics' names, one behind the other.
std::string topicsNamed();

// What there is to say about a command, a topic or a block type, or about all; or the pages into a
// folder. Raises RunError, ModuleError.
void help(CLI::App& app, const HelpArguments& arguments);

}  // namespace vynhost
