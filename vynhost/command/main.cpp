// vynhost: lists the module's blocks, runs diagrams of them over recordings, shows their dialogs.
#include <algorithm>
#include <iostream>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/command_line.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {
namespace {

constexpr const char* kNotWritten = words("standard output can't be written");

// What was said must have arrived: a full disk behind standard output is an error, too.
void requireWritten(std::ostream& stream) {
    if (!stream.flush()) throw RunError(kWrongInput, tr(kNotWritten));
}

std::string versionText() {
    return "vynhost " VYN_VERSION ", module interface " + std::to_string(kInterfaceVersion);
}

// Asked for before anything else is read: help and errors are in it, too.
Language languageOf(const std::vector<std::string>& words) {
    constexpr std::string_view kOption = "--lang";
    std::string name = platform::userLanguage();
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == kOption && i + 1 < words.size()) name = words[i + 1];
        if (words[i].starts_with(std::string(kOption) + "="))
            name = words[i].substr(kOption.size() + 1);
    }
    return name == codeOf(Language::german) ? Language::german : Language::english;
}

int obey(const std::vector<std::string>& words) {
    speak(languageOf(words));
    CLI::App app(tr("Runs diagrams of signal-analysis blocks over recordings."), "vynhost");
    putHelpIntoWords(app);
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.set_version_flag("--version", versionText(),
                         tr("Display program version information and exit"));
    int code = kSuccess;

    CommandArguments arguments;
    addCommands(app, arguments, code);
    app.footer(
        tr("vynhost help TOPIC says more, of a command, a block type, or: %1", topicsNamed()));

    std::string language;
    addLanguage(app, language);
    nameArguments(app);
    std::vector<std::string> commands;
    for (CLI::App* command : app.get_subcommands(nullptr)) {
        commands.push_back(command->get_name());
        addLanguage(*command, language);
        nameArguments(*command);
        command->group(tr("Subcommands"));
        command->get_help_ptr()->group(tr("Options"));
    }
    // What stands where a command should.
    const std::string* word = words.data();
    const std::string* const end = word + words.size();
    while (word != end && word->starts_with("--lang"))
        word += *word == "--lang" && end - word > 1 ? 2 : 1;
    if (word != end && !word->starts_with('-') &&
        std::ranges::find(commands, *word) == commands.end()) {
        complain(tr("\"%1\" is no command%2 (there are: %3)", *word, didYouMean(*word, commands),
                    joined(commands)));
        return kWrongInput;
    }

    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        requireWritten(std::cout);
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == 0;  // for help or the version
        if (asked) app.exit(error);
        if (asked && std::cout.flush()) return kSuccess;
        complain(asked ? tr(kNotWritten) : tr("%1 (--help says more)", retold(error.what())));
        return kWrongInput;
    } catch (const RunError& error) {
        complain(error.what());
        return error.code();
    } catch (const ModuleError& error) {
        complain(error.what());
        return kNoModule;
    } catch (const std::bad_alloc&) {
        complain(tr("memory is out"));
        return kWrongInput;
    } catch (const std::exception& error) {
        complain(error.what());
        return kWrongInput;
    }
    return code;
}

}  // namespace
}  // namespace vynhost

int main(int argc, char** argv) {
    try {
        return vynhost::obey(vynhost::platform::commandLine(argc, argv));
    } catch (...) {  // not even the message could be written
        return vynhost::kWrongInput;
    }
}
