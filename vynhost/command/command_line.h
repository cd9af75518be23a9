// The program's command line: its commands and their options, and what the parser says about them
// in our words.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "vynhost/command/calibrate.h"
#include "vynhost/command/commands.h"
#include "vynhost/command/dialog_command.h"
#include "vynhost/command/level.h"
#include "vynhost/command/program_help.h"
#include "vynhost/command/spectra.h"
#include "vynhost/command/validate_command.h"

namespace vynhost {

struct CommandArguments {
    ListArguments list;
    SkeletonArguments skeleton;
    RunArguments run;
    CalibrateArguments calibrate;
    LevelArguments level;
    SpectrumArguments spectrum;
    BandsArguments bands;
    TransferArguments transfer;
    DialogArguments dialog;
    ValidateArguments validate;
    HelpArguments help;
};

// All commands. Parsing fills the arguments of the one that is given and does its work, which may
// set the exit code; both must outlive the parsing.
void addCommands(CLI::App& app, CommandArguments& arguments, int& code);

// --lang, which any place of a command line may have.
void addLanguage(CLI::App& command, std::string& language);

// The words that the parser adds to a help, in the spoken language.
void putHelpIntoWords(CLI::App& app);

// What the parser has said about a command line, in the spoken language.
std::string retold(const std::string& message);

}  // namespace vynhost
