#include "vynhost/command/manual.h"

#include <algorithm>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

using Kind = HelpPart::Kind;

std::size_t lettersIn(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string replacedAll(std::string text, std::string_view what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// --- For a terminal -------------------------------------------------------------------------

// In lines of at most 79 letters, each behind so many blanks.
std::string wrapped(std::string_view text, std::size_t indent) {
    constexpr std::size_t kWidth = 79;
    std::string result;
    std::size_t column = 0;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        const std::size_t letters = lettersIn(word);
        if (column > 0 && column + 1 + letters > kWidth) {
            result += '\n';
            column = 0;
        }
        result += column == 0 ? std::string(indent, ' ') : " ";
        column += letters + (column == 0 ? indent : 1);
        result += word;
    }
    return result + "\n";
}

std::string indented(std::string_view lines, std::size_t indent) {
    const std::string blanks(indent, ' ');
    std::string text = blanks + std::string(lines.substr(0, lines.find_last_not_of('\n') + 1));
    text = replacedAll(std::move(text), "\n", "\n" + blanks);
    return replacedAll(std::move(text), "\n" + blanks + "\n", "\n\n") + "\n";
}

// --- In roff --------------------------------------------------------------------------------

// groff_man(7): a backslash begins an escape, a point or an apostrophe at the start of a line a
// request.
std::string roffText(std::string_view text) {
    std::string result = replacedAll(std::string(text), "\\", "\\e");
    for (const char* mark : {".", "'"}) {
        result =
            replacedAll(std::move(result), std::string("\n") + mark, std::string("\n\\&") + mark);
        if (result.starts_with(mark)) result.insert(0, "\\&");
    }
    return result;
}

// What is typed as it stands, with hyphens that can be copied.
std::string roffWord(std::string_view text) {
    return replacedAll(replacedAll(roffText(text), "-", "\\-"), "\"", "\\(dq");
}

std::string bold(std::string_view text) { return "\\fB" + roffWord(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roffWord(text) + "\\fR"; }

std::string section(const std::string& title) { return ".SH " + title + "\n"; }

std::string roffItem(const std::string& term, const std::string& text) {
    return ".TP\n" + term + "\n" + text + "\n";
}

std::string roffOf(const HelpTopic& topic) {
    std::string text;
    for (const HelpPart& part : topic.parts) {
        switch (part.kind) {
            case Kind::paragraph: text += ".PP\n" + roffText(tr(part.text)) + "\n"; break;
            case Kind::heading: text += ".SS " + roffText(part.term) + "\n"; break;
            case Kind::item: text += roffItem(bold(part.term), roffText(tr(part.text))); break;
            case Kind::example:
                text += ".PP\n.nf\n.RS\n" + roffWord(part.text) + ".RE\n.fi\n";
                break;
        }
    }
    return text;
}

// "-q, --quiet", "--out FOLDER"
std::string roffNames(const OptionHelp& option) {
    if (option.isPositional()) return italic(option.names);
    std::string names = bold(option.names);
    names = replacedAll(std::move(names), ",", "\\fR, \\fB");
    if (option.argument.empty()) return names;
    std::string argument = tr(option.argument);
    if (!option.choices.empty()) {
        argument.clear();
        for (const std::string& choice : option.choices)
            argument += (argument.empty() ? "" : "|") + choice;
    }
    return names + " " + italic(argument);
}

// What every command takes is said once.
bool isOfAll(const ProgramHelp& program, const OptionHelp& option) {
    return std::ranges::find(program.options, option.names, &OptionHelp::names) !=
           program.options.end();
}

std::string synopsisOf(const CommandHelp& command) {
    std::string text = bold("vynhost " + command.name);
    bool hasOptions = false;
    for (const OptionHelp& option : command.options) {
        hasOptions |= !option.isPositional();
        if (option.isPositional()) {
            const std::string name = italic(option.names) + (option.many ? "..." : "");
            text += " " + (option.required ? name : "[" + name + "]");
        } else if (option.required) {
            text += " " + roffNames(option);
        }
    }
    return text + (hasOptions ? " [" + italic(tr("OPTION")) + "]..." : "");
}

std::string pageHead(const char* name, int number, const ProgramHelp& program,
                     const std::string& manual) {
    return ".\\\" Made by vynhost help --write-pages.\n.TH " + std::string(name) + " " +
           std::to_string(number) + " \"\" \"Vynpack " + program.version + "\" \"" + manual +
           "\"\n";
}

// --- For bash -------------------------------------------------------------------------------

bool takesFile(const OptionHelp& option) {
    return option.argument == "FILE" || option.argument == "NAME=FILE";
}

// What completes an argument; empty when nothing does.
std::string completing(const OptionHelp& option) {
    if (!option.choices.empty())
        return "COMPREPLY=($(compgen -W '" + replacedAll(joined(option.choices), ",", "") +
               "' -- \"$cur\"))";
    if (option.argument == "FOLDER") return "_filedir -d";
    if (takesFile(option)) return "_filedir";
    return ":";
}

std::string completingWord(const CommandHelp& command) {
    for (const OptionHelp& option : command.options) {
        if (option.names == "DIAGRAM") return "_filedir toml";
        if (option.names == "RECORDING" || option.names == "MODULE") return "_filedir";
        if (option.names == "TOPIC")
            return "COMPREPLY=($(compgen -W \"$commands $topics\" -- \"$cur\"))";
    }
    return ":";
}

std::string longNames(std::span<const OptionHelp> options) {
    std::string words;
    for (const OptionHelp& option : options) {
        const std::size_t at = option.names.find("--");
        if (at != std::string::npos) words += (words.empty() ? "" : " ") + option.names.substr(at);
    }
    return words;
}

}  // namespace

const HelpTopic* helpTopic(std::string_view name) {
    const auto found = std::ranges::find(helpTopics(), name, &HelpTopic::name);
    return found == helpTopics().end() ? nullptr : &*found;
}

std::string topicText(const HelpTopic& topic) {
    constexpr std::size_t kIndent = 4;
    std::string text;
    for (const HelpPart& part : topic.parts) {
        if (!text.empty() && part.kind != Kind::item) text += "\n";
        switch (part.kind) {
            case Kind::paragraph: text += wrapped(tr(part.text), 0); break;
            case Kind::heading: text += std::string(part.term) + "\n"; break;
            case Kind::item:
                text += "  " + std::string(part.term) + "\n" + wrapped(tr(part.text), 2 * kIndent);
                break;
            case Kind::example: text += indented(part.text, kIndent); break;
        }
    }
    return text;
}

std::string topicList() {
    constexpr std::size_t kColumn = 14;
    std::string text;
    for (const HelpTopic& topic : helpTopics()) {
        text += "  " + std::string(topic.name);
        text += std::string(kColumn - std::min(kColumn - 1, topic.name.size()), ' ');
        text += tr(topic.says) + "\n";
    }
    return text;
}

std::string manualPage(const ProgramHelp& program) {
    std::string text = pageHead("VYNHOST", 1, program, tr("User Commands"));
    text += section(tr("NAME")) + "vynhost \\- " +
            roffText(tr("run diagrams of signal-analysis blocks over recordings")) + "\n";
    text += section(tr("SYNOPSIS"));
    for (const CommandHelp& command : program.commands)
        text += synopsisOf(command) + "\n.br\n";
    text += bold("vynhost") + " [" + bold("--help") + "] [" + bold("--version") + "]\n";
    text += section(tr("DESCRIPTION")) + ".B vynhost\n" +
            roffText(tr(
                "loads the module VYNPACKM and the analysis library ovanlys, wires the module's "
                "blocks as a diagram says, hands them recordings block by block, and writes what "
                "comes out as tables and pictures. The module's ten block types compute spectra, "
                "filters, band levels, sound levels, classes, statistics and averages.")) +
            "\n.PP\n" +
            roffText(
                tr("vynhost help TOPIC says what stands below; a topic may be a command or a block "
                   "type, too.")) +
            "\n";
    text += section(tr("COMMANDS"));
    for (const CommandHelp& command : program.commands) {
        text += ".SS " + synopsisOf(command) + "\n" + roffText(command.text) + ".\n";
        for (const OptionHelp& option : command.options) {
            if (isOfAll(program, option)) continue;
            text += roffItem(roffNames(option), roffText(option.text));
        }
    }
    text += section(tr("OPTIONS"));
    for (const OptionHelp& option : program.options)
        text += roffItem(roffNames(option), roffText(option.text));
    for (const HelpTopic& topic : helpTopics()) {
        if (topic.name != kDiagramTopic) text += section(tr(topic.title)) + roffOf(topic);
    }
    return text + section(tr("SEE ALSO")) + ".BR vynhost\\-diagram (5)\n";
}

std::string diagramPage(const ProgramHelp& program) {
    return pageHead("VYNHOST-DIAGRAM", 5, program, tr("File Formats")) + section(tr("NAME")) +
           "vynhost-diagram \\- " + roffText(tr("diagrams of signal-analysis blocks")) + "\n" +
           section(tr("DESCRIPTION")) + roffOf(*helpTopic(kDiagramTopic)) +
           section(tr("SEE ALSO")) + ".BR vynhost (1)\n";
}

std::string bashCompletion(const ProgramHelp& program) {
    std::string commands;
    std::string arguments;
    std::string cases;
    for (const CommandHelp& command : program.commands) {
        commands += (commands.empty() ? "" : " ") + command.name;
        for (const OptionHelp& option : command.options) {
            const std::size_t at = option.names.find("--");
            if (option.argument.empty() || at == std::string::npos) continue;
            arguments += "        " + command.name + ":" + option.names.substr(at) +
                         ")\n            " + completing(option) +
                         "\n            return\n            ;;\n";
        }
        cases += "        " + command.name + ")\n            if [[ $cur == -* ]]; then\n" +
                 "                COMPREPLY=($(compgen -W '" + longNames(command.options) +
                 "' -- \"$cur\"))\n            else\n                " + completingWord(command) +
                 "\n            fi\n            ;;\n";
    }
    std::string topics;
    for (const HelpTopic& topic : helpTopics())
        topics += (topics.empty() ? "" : " ") + std::string(topic.name);
    return "# Completion of vynhost's commands, options and files: made by vynhost help "
           "--write-pages.       -*- shell-script -*-\n\n"
           "_vynhost()\n{\n    local cur prev words cword\n    _init_completion || return\n\n"
           "    local commands='" +
           commands + "' command=\n    local topics='" + topics +
           "'\n    local i\n"
           "    for ((i = 1; i < cword; i++)); do\n"
           "        if [[ ${words[i]} != -* && ${words[i - 1]} != --lang ]]; then\n"
           "            command=${words[i]}\n            break\n        fi\n    done\n\n"
           "    case $command:$prev in\n        :--lang)\n"
           "            COMPREPLY=($(compgen -W 'en de' -- \"$cur\"))\n            return\n"
           "            ;;\n" +
           arguments + "    esac\n    case $command in\n        '')\n" +
           "            COMPREPLY=($(compgen -W \"$commands " + longNames(program.options) +
           "\" -- \"$cur\"))\n            ;;\n" + cases +
           "    esac\n} &&\n    complete -F _vynhost vynhost\n";
}

}  // namespace vynhost
