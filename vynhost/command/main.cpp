// vynhost: lists the module's blocks, runs diagrams of them over recordings, shows their dialogs.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <deque>
#include <iostream>
#include <map>
#include <optional>

#include "vynhost/base/errors.h"
#include "vynhost/base/text.h"
#include "vynhost/command/calibrate.h"
#include "vynhost/command/dialog_command.h"
#include "vynhost/command/doctor.h"
#include "vynhost/command/list.h"
#include "vynhost/command/platform/terminal.h"
#include "vynhost/command/progress_line.h"
#include "vynhost/command/skeleton.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/interface/platform/system.h"
#include "vynhost/results/comparison.h"
#include "vynhost/results/report.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/sink.h"
#include "vynhost/run/interrupt.h"
#include "vynhost/run/runner.h"

namespace vynhost {
namespace {

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
    std::string language = "en";  // of the report
    double memory = 1;            // GiB
    bool force = false;
    bool quiet = false;
    bool noProgress = false;
};

// The one line that an error is, on standard error.
void complain(std::string_view text) {
    std::cerr << messageLine("vynhost: " + std::string(text)) << '\n';
}

void say(const std::string& line) { std::cout << printable(line) << '\n'; }

std::map<std::string, std::filesystem::path> replacedFiles(const std::vector<std::string>& inputs) {
    std::map<std::string, std::filesystem::path> files;
    for (const std::string& input : inputs) {
        const std::size_t equals = input.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw InputError("--input " + input + ": must be NAME=FILE");
        }
        const std::string name = input.substr(0, equals);
        if (!files.emplace(name, pathOf(input.substr(equals + 1))).second) {
            throw InputError("--input " + name + " is given twice; a source has one recording");
        }
    }
    return files;
}

// What no result may replace: the diagram and the recordings, also those that others stand in for.
std::vector<ReadFile> readFiles(const Diagram& diagram,
                                const std::map<std::string, std::filesystem::path>& inputs) {
    std::vector<ReadFile> files = {{diagram.file, "the diagram"}};
    for (const SourceEntry& source : diagram.sources) {
        if (!source.file.empty()) files.push_back({source.file, "the recording of " + source.name});
        if (!source.calibration.empty()) {
            files.push_back({source.calibration, "the calibration of " + source.name});
        }
    }
    for (const auto& [name, file] : inputs)
        files.push_back({file, "the recording of " + name});
    return files;
}

int list(const ListArguments& arguments) {
    const ModuleLibrary module = loadModule(findInstallation());
    ModuleHost host(module);
    std::vector<TypeInfo> types = moduleTypes(host);
    if (!arguments.type.empty()) types = {typeNamed(arguments.type, types, {})};
    if (arguments.json) {
        std::cout << listAsJson(host, types);
    } else if (arguments.markdown) {
        for (const TypeInfo& type : types)
            std::cout << keywordsAsMarkdown(type);
    } else {
        std::cout << (arguments.type.empty() ? listAsText(host) : typeAsText(host, types.front()));
    }
    return kSuccess;
}

int skeleton(const SkeletonArguments& arguments) {
    const ModuleLibrary module = loadModule(findInstallation());
    ModuleHost host(module);
    const std::vector<TypeInfo> known = moduleTypes(host);
    std::vector<TypeInfo> types;
    for (const std::string& name : arguments.types)
        types.push_back(typeNamed(name, known, {}));
    std::cout << skeletonOf(types);
    return kSuccess;
}

std::uint64_t memoryOf(const RunArguments& arguments) {
    constexpr double kGibi = 1 << 30;
    constexpr double kMost = 1 << 20;
    if (!(arguments.memory > 0 && arguments.memory <= kMost)) {
        throw InputError("--memory must be above 0, in GiB, and 1048576 at most");
    }
    return static_cast<std::uint64_t>(arguments.memory * kGibi);
}

ReportedProgram programOf(const Installation& installation, ModuleHost& host) {
    std::string why;
    const std::filesystem::path library = installation.library()->file;
    return {VYN_VERSION, host.getInfo(kFirstType, kInterface), installation.module, library,
            libraryVersion(library, why).value_or("?")};
}

int run(const RunArguments& arguments) {
    watchInterrupts();
    const std::uint64_t memory = memoryOf(arguments);
    Diagram diagram = readDiagram(pathOf(arguments.diagram));
    if (!arguments.report.empty()) askForReport(diagram, arguments.report, {"", 0, "--report"});
    requireResults(diagram);
    const auto inputs = replacedFiles(arguments.inputs);
    ResultFiles files(pathOf(arguments.out), readFiles(diagram, inputs), arguments.force);
    for (const SinkEntry& sink : diagram.sinks)
        Sink::claimFiles(sink, files);
    if (!diagram.report.empty()) files.claim(diagram.report, diagram.reportPlace);
    const Installation installation = findInstallation();
    requireLibrary(installation);
    const ModuleLibrary module = loadModule(installation);
    ModuleHost host(module, {.mostValues = memory / sizeof(float)});
    Runner runner(host, diagram, inputs, memory);
    const TableStyle& tables = arguments.csv == "de" ? kCommaTables : kPointTables;
    std::deque<Sink> sinks;
    for (const SinkEntry& entry : diagram.sinks)
        sinks.emplace_back(entry, runner, files, tables);
    std::deque<Comparer> comparers;
    for (const CompareEntry& entry : diagram.comparisons)
        comparers.emplace_back(entry, runner);
    std::optional<ProgressLine> progress;
    if (const auto columns = platform::terminalColumns();
        columns && !arguments.quiet && !arguments.noProgress) {
        progress.emplace(std::cerr, *columns);
        runner.watch([&](const Runner::Progress& now) { progress->show(now); });
    }
    ResultFile* report = diagram.report.empty() ? nullptr : &files.open(diagram.report);
    runner.run();
    if (progress) progress->say("writing the results");
    std::vector<Comparison> comparisons;
    comparisons.reserve(comparers.size());
    for (const Comparer& comparer : comparers)
        comparisons.push_back(comparer.result());
    for (Sink& sink : sinks)
        sink.finish();
    if (report != nullptr) {
        report->write(
            reportPage({diagram, runner, sinks, comparisons, programOf(installation, host),
                        arguments.language == "de" ? Language::german : Language::english}));
    }
    progress.reset();
    if (!arguments.quiet) {
        for (const std::string& note : runner.notes())
            say(note);
    }
    if (interrupted()) throw RunError(kInterrupted, "interrupted, no file is written");
    for (const std::filesystem::path& path : files.commit()) {
        if (!arguments.quiet) say("wrote " + textOf(path));
    }
    int code = kSuccess;
    for (const Comparison& comparison : comparisons) {
        if (!arguments.quiet) say(comparison.line);
        if (!comparison.within) code = kDifferent;
        if (!comparison.within && arguments.quiet) complain(comparison.line);
    }
    return code;
}

int dialog(const DialogArguments& arguments) {
    if (!platform::kHasDialogs) {
        throw InputError("dialogs exist on Windows only; here keywords set a block up");
    }
    const ModuleLibrary module = loadModule(findInstallation());
    ModuleHost host(module);
    std::cout << showBlockDialog(host, arguments);
    return kSuccess;
}

constexpr const char* kNotWritten = "standard output can't be written";

// What was said must have arrived: a full disk behind standard output is an error, too.
void requireWritten(std::ostream& stream) {
    if (!stream.flush()) throw RunError(kWrongInput, kNotWritten);
}

std::string versionText() {
    return "vynhost " VYN_VERSION ", module interface " + std::to_string(kInterfaceVersion);
}

int obey(const std::vector<std::string>& words) {
    CLI::App app("Runs diagrams of signal-analysis blocks over recordings.", "vynhost");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.set_version_flag("--version", versionText());
    int code = kSuccess;

    ListArguments listArguments;
    CLI::App* listCommand = app.add_subcommand("list", "Lists block types and their keywords");
    listCommand->add_option("TYPE", listArguments.type,
                            "One type, by name, class or code, with what its keywords mean");
    CLI::Option* json = listCommand->add_flag("--json", listArguments.json, "As JSON");
    listCommand
        ->add_flag("--markdown", listArguments.markdown, "The keywords as tables in Markdown")
        ->excludes(json);
    listCommand->callback([&] { code = list(listArguments); });

    SkeletonArguments skeletonArguments;
    CLI::App* skeletonCommand = app.add_subcommand(
        "skeleton", "Prints a diagram that runs as it is, of blocks one behind the other");
    skeletonCommand->add_option("TYPE", skeletonArguments.types, "Names, classes or codes")
        ->required();
    skeletonCommand->callback([&] { code = skeleton(skeletonArguments); });

    RunArguments runArguments;
    CLI::App* runCommand = app.add_subcommand("run", "Runs a diagram");
    runCommand->add_option("DIAGRAM", runArguments.diagram, "A TOML file")->required();
    runCommand->add_option("--input", runArguments.inputs,
                           "NAME=FILE: another recording for a source");
    runCommand->add_option("--out", runArguments.out, "Folder of the results (default: here)");
    runCommand
        ->add_option("--csv", runArguments.csv,
                     "Tables with comma and decimal point (en, the default), or with semicolon and "
                     "decimal comma (de)")
        ->check(CLI::IsMember({"en", "de"}));
    runCommand->add_option("--report", runArguments.report,
                           "File of a report: everything on one page, for a browser");
    runCommand
        ->add_option("--lang", runArguments.language,
                     "Language of the report: en (the default) or de")
        ->check(CLI::IsMember({"en", "de"}));
    runCommand->add_option("--memory", runArguments.memory,
                           "GiB that data blocks, curves and waiting rows may take (default: 1)");
    runCommand->add_flag("--force", runArguments.force,
                         "Replace files that no run has written, too");
    runCommand->add_flag("-q,--quiet", runArguments.quiet, "Errors only");
    runCommand->add_flag("--no-progress", runArguments.noProgress,
                         "No line on a terminal that says how far the run is");
    runCommand->callback([&] { code = run(runArguments); });

    CalibrateArguments calibrateArguments;
    CLI::App* calibrateCommand = app.add_subcommand(
        "calibrate", "Finds the scale of a recording in the tone of a sound calibrator");
    calibrateCommand->add_option("RECORDING", calibrateArguments.recording, "Of the calibrator")
        ->required();
    calibrateCommand
        ->add_option("--level", calibrateArguments.level, "The calibrator's level, dB re 20 uPa")
        ->required();
    calibrateCommand->add_option("--frequency", calibrateArguments.frequency,
                                 "The calibrator's frequency in Hz (default: 1000)");
    calibrateCommand->add_option("--out", calibrateArguments.out,
                                 "The calibration's file (default: cal.toml)");
    calibrateCommand->add_flag("--force", calibrateArguments.force,
                               "Replace a file that is not as this program has written it, too");
    calibrateCommand->callback([&] {
        watchInterrupts();
        calibrate(calibrateArguments, std::cout);
    });

    DialogArguments dialogArguments;
    CLI::App* dialogCommand = app.add_subcommand(
        "dialog", "Shows a block's dialog and writes its changes into the diagram (Windows)");
    dialogCommand->add_option("DIAGRAM", dialogArguments.diagram, "A TOML file")->required();
    dialogCommand->add_option("BLOCK", dialogArguments.block, "A block's name in it")->required();
    dialogCommand->callback([&] { code = dialog(dialogArguments); });

    CLI::App* doctorCommand =
        app.add_subcommand("doctor", "Says what is installed where, and whether it works");
    doctorCommand->callback([&] { code = examine(std::cout); });

    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        commands.push_back(command->get_name());
    if (!words.empty() && !words.front().starts_with('-') &&
        std::ranges::find(commands, words.front()) == commands.end()) {
        complain("\"" + words.front() + "\" is no command" + didYouMean(words.front(), commands) +
                 " (there are: " + joined(commands) + ")");
        return kWrongInput;
    }

    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        requireWritten(std::cout);
    } catch (const CLI::ParseError& error) {
        const bool asked = error.get_exit_code() == 0;  // for help or the version
        if (asked) app.exit(error);
        if (asked && std::cout.flush()) return kSuccess;
        complain(asked ? kNotWritten : std::string(error.what()) + " (--help says more)");
        return kWrongInput;
    } catch (const RunError& error) {
        complain(error.what());
        return error.code();
    } catch (const ModuleError& error) {
        complain(error.what());
        return kNoModule;
    } catch (const std::bad_alloc&) {
        complain("memory is out");
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
