#include "vynhost/command/program_help.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <vector>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/list.h"
#include "vynhost/command/manual.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/module_host.h"

namespace vynhost {
namespace {

// What options take, by their names; of one command alone with its name before a colon.
std::string argumentOf(const std::string& command, const std::string& option) {
    static const std::map<std::string, const char*> kArguments = {
        {"--out", words("FOLDER")},       {"calibrate:--out", words("FILE")},
        {"--input", words("NAME=FILE")},  {"--each", words("NAME=FILES")},
        {"--report", words("FILE")},      {"--calibration", words("FILE")},
        {"--memory", words("GIB")},       {"--jobs", words("N")},
        {"--level", words("N")},          {"calibrate:--level", words("DB")},
        {"--frequency", words("HZ")},     {"--seed", words("N")},
        {"--check", words("NAME")},       {"--channels", words("LIST")},
        {"--percentiles", words("LIST")}, {"--full-scale", words("LIST")},
        {"--unit", words("UNIT")},        {"--sensitivity", words("QUANTITY")},
        {"--range", words("QUANTITY")},   {"--every", words("TIME")},
        {"--clock", words("SECONDS")},    {"--overlap", words("PERCENT")},
        {"--length", words("N")},         {"--averages", words("N")},
        {"--peaks", words("N")},          {"--excitation", words("CHANNEL")},
        {"--response", words("CHANNEL")}, {"--window", words("WINDOW")},
        {"--weighting", words("LETTER")}, {"--time", words("LETTER")},
        {"--csv", words("LANGUAGE")},     {"--lang", words("LANGUAGE")},
        {"--variable", words("NAME")},    {"--rate", words("HZ")}};
    const auto own = kArguments.find(command + ":" + option);
    if (own != kArguments.end()) return own->second;
    const auto found = kArguments.find(option);
    return found == kArguments.end() ? "" : found->second;
}

bool isHidden(const CLI::Option& option) { return option.get_group().empty(); }
bool isFlag(const CLI::Option& option) { return option.get_items_expected_max() == 0; }
std::string nameOf(const CLI::Option& option) { return option.get_name(false, true); }

std::vector<OptionHelp> optionsOf(const CLI::App& command) {
    std::vector<OptionHelp> options;
    for (const CLI::Option* option : command.get_options()) {
        if (isHidden(*option)) continue;
        OptionHelp help{.names = nameOf(*option),
                        .argument = "",
                        .text = option->get_description(),
                        .required = option->get_required(),
                        .many = option->get_items_expected_max() > 1};
        if (!isFlag(*option) && !help.isPositional()) {
            help.argument = argumentOf(command.get_name(), option->get_name());
        }
        // As the option's own help has them: "TEXT:{en,de}".
        const std::string type = option->get_type_name();
        const std::size_t brace = type.find('{');
        if (brace != std::string::npos) {
            help.choices = CLI::detail::split(type.substr(brace + 1, type.size() - brace - 2), ',');
        }
        options.push_back(std::move(help));
    }
    return options;
}

ProgramHelp programHelp(const CLI::App& app) {
    ProgramHelp program{VYN_VERSION, app.get_description(), optionsOf(app), {}};
    for (const CLI::App* command : app.get_subcommands(nullptr))
        program.commands.push_back(
            {command->get_name(), command->get_description(), optionsOf(*command)});
    return program;
}

void writePages(const CLI::App& app, const std::filesystem::path& folder) {
    const ProgramHelp program = programHelp(app);
    std::filesystem::create_directories(folder);
    for (const auto& [name, text] : {std::pair("vynhost.1", manualPage(program)),
                                     std::pair("vynhost-diagram.5", diagramPage(program)),
                                     std::pair("vynhost.bash", bashCompletion(program))}) {
        std::ofstream file(folder / name, std::ios::binary);
        if (!(file << text).flush()) {
            throw RunError(kWrongInput, tr("%1: can't be written", textOf(folder / name)));
        }
    }
}

}  // namespace

void nameArguments(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) {
        const std::string name = argumentOf(command.get_name(), option->get_name());
        if (!name.empty() && !isFlag(*option)) option->type_name(tr(name));
    }
}

std::string topicsNamed() {
    std::string names;
    for (const HelpTopic& topic : helpTopics())
        names += (names.empty() ? "" : ", ") + std::string(topic.name);
    return names;
}

void help(CLI::App& app, const HelpArguments& arguments) {
    if (!arguments.folder.empty()) {
        writePages(app, pathOf(arguments.folder));
        return;
    }
    const std::string& name = arguments.topic;
    if (name.empty()) {
        // As before any command: app.help() would be that of this one.
        std::cout << app.get_formatter()->make_help(&app, app.get_name(),
                                                    CLI::AppFormatMode::Normal)
                  << '\n'
                  << tr("Topics") << ":\n"
                  << topicList();
        return;
    }
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        if (command->get_name() != name) continue;
        std::cout << command->help(app.get_name());
        return;
    }
    if (const HelpTopic* topic = helpTopic(name)) {
        std::cout << topicText(*topic);
        return;
    }
    const ModuleLibrary module = loadModule(findInstallation());
    ModuleHost host(module);
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        names.push_back(command->get_name());
    for (const HelpTopic& topic : helpTopics())
        names.emplace_back(topic.name);
    const std::vector<TypeInfo> types = moduleTypes(host);
    const TypeInfo* type = nullptr;
    try {
        type = &typeNamed(name, types, {});
    } catch (const InputError&) {
        throw InputError(
            tr("\"%1\" is no command, topic or block type%2", name, didYouMean(name, names)));
    }
    std::cout << typeAsText(host, *type);
}

}  // namespace vynhost
