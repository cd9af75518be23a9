// vynhost: lists the module's blocks, runs diagrams of them over recordings, shows their dialogs.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/batch.h"
#include "vynhost/command/calibrate.h"
#include "vynhost/command/diagram_job.h"
#include "vynhost/command/dialog_command.h"
#include "vynhost/command/doctor.h"
#include "vynhost/command/level.h"
#include "vynhost/command/list.h"
#include "vynhost/command/manual.h"
#include "vynhost/command/measurement.h"
#include "vynhost/command/skeleton.h"
#include "vynhost/command/spectra.h"
#include "vynhost/command/validate_command.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/interface/platform/system.h"
#include "vynhost/results/totals.h"
#include "vynhost/run/interrupt.h"

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
void complain(std::string_view text) {
    std::cerr << messageLine("vynhost: " + std::string(text)) << '\n';
}

void say(const std::string& line) { std::cout << printable(line) << '\n'; }

std::map<std::string, std::filesystem::path> replacedFiles(const std::vector<std::string>& inputs) {
    std::map<std::string, std::filesystem::path> files;
    for (const std::string& input : inputs) {
        const std::size_t equals = input.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw InputError(tr("--input %1: must be NAME=FILE", input));
        }
        const std::string name = input.substr(0, equals);
        if (!files.emplace(name, pathOf(input.substr(equals + 1))).second) {
            throw InputError(tr("--input %1 is given twice; a source has one recording", name));
        }
    }
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

int run(const RunArguments& arguments) {
    watchInterrupts();
    if (!arguments.each.empty()) {
        const bool ok = runBatch({.diagram = arguments.diagram,
                                  .each = arguments.each,
                                  .inputs = arguments.inputs,
                                  .out = arguments.out,
                                  .csv = arguments.csv,
                                  .memory = arguments.memory,
                                  .report = arguments.report,
                                  .language = codeOf(spokenLanguage()),
                                  .jobs = arguments.jobs,
                                  .resume = arguments.resume,
                                  .force = arguments.force,
                                  .quiet = arguments.quiet},
                                 std::cout, std::cerr);
        return ok ? kSuccess : kDifferent;
    }
    const std::uint64_t memory = memoryOf(arguments.memory);
    Diagram diagram = readDiagram(pathOf(arguments.diagram));
    if (!arguments.report.empty()) askForReport(diagram, arguments.report, {"", 0, "--report"});
    requireResults(diagram);
    DiagramJob job(diagram, {.inputs = replacedFiles(arguments.inputs),
                             .out = pathOf(arguments.out),
                             .tables = &tableStyleNamed(arguments.csv),
                             .memory = memory,
                             .force = arguments.force,
                             .showsProgress = !arguments.quiet && !arguments.noProgress,
                             .version = VYN_VERSION,
                             .language = spokenLanguage()});
    std::optional<Totals> totals;
    if (arguments.totals) totals.emplace(diagram, job.runner());
    job.run();
    if (!arguments.quiet) {
        for (const std::string& note : job.runner().notes())
            say(note);
    }
    for (const std::filesystem::path& path : job.commit()) {
        if (!arguments.quiet) say(tr("wrote %1", textOf(path)));
    }
    if (totals) {
        constexpr int kTotalDigits = 9;
        for (const auto& [name, value] : totals->values())
            say("total: " + name + " = " + toText(value, kTotalDigits));
    }
    int code = kSuccess;
    for (const Comparison& comparison : job.comparisons()) {
        if (!arguments.quiet) say(comparison.line);
        if (!comparison.within) code = kDifferent;
        if (!comparison.within && arguments.quiet) complain(comparison.line);
    }
    return code;
}

int dialog(const DialogArguments& arguments) {
    if (!platform::kHasDialogs) {
        throw InputError(tr("dialogs exist on Windows only; here keywords set a block up"));
    }
    const ModuleLibrary module = loadModule(findInstallation());
    ModuleHost host(module);
    std::cout << showBlockDialog(host, arguments);
    return kSuccess;
}

// What the commands take that measure in one recording.
void addMeasurement(CLI::App& command, MeasurementArguments& arguments) {
    command.add_option("RECORDING", arguments.recording, tr("Of any number of channels"))
        ->required();
    command.add_option("--calibration", arguments.calibration,
                       tr("What vynhost calibrate has written"));
    command
        .add_option("--full-scale", arguments.fullScale,
                    tr("Value of digital full scale, in --unit; several: per channel"))
        ->delimiter(',')
        ->allow_extra_args(false);
    command.add_option("--unit", arguments.unit, tr("Of --full-scale"));
    command.add_option("--sensitivity", arguments.sensitivity, tr("Of the sensor: \"50 mV/Pa\""));
    command.add_option("--range", arguments.range, tr("What full scale is at the input: \"10 V\""));
    command.add_option("--channels", arguments.channels, tr("From 1: 1,2 (default: all)"))
        ->delimiter(',')
        ->allow_extra_args(false);
    command.add_option("--variable", arguments.variable,
                       tr("Of a MAT or HDF5 file that holds several arrays"));
    command.add_option("--rate", arguments.rate, tr("In Hz, of a file that says none"));
    command.add_option("--out", arguments.out,
                       tr("Folder of tables and pictures (default: nothing is written)"));
    command.add_option("--report", arguments.report,
                       tr("File of a report: everything on one page, for a browser"));
    arguments.version = VYN_VERSION;
    command
        .add_option(
            "--csv", arguments.csv,
            tr("Tables with comma and decimal point (en, the default), or with semicolon and "
               "decimal comma (de)"))
        ->check(CLI::IsMember({"en", "de"}));
    command.add_option("--memory", arguments.memory,
                       tr("GiB that data blocks, curves and waiting rows may take (default: 1)"));
    command.add_flag("--diagram", arguments.diagram,
                     tr("Print the diagram of these blocks instead of running it"));
    command.add_flag("--force", arguments.force, tr("Replace files that no run has written, too"));
    command.add_flag("-q,--quiet", arguments.quiet, tr("Errors only"));
    command.add_flag("--no-progress", arguments.noProgress,
                     tr("No line on a terminal that says how far the run is"));
}

void addLevel(CLI::App& app, LevelArguments& arguments) {
    CLI::App* command = app.add_subcommand("level", tr("Measures sound levels in a recording"));
    addMeasurement(*command, arguments);
    command->add_option("--weighting", arguments.weighting, tr("A (the default), B, C or Z"));
    command->add_option("--time", arguments.time, tr("F (the default), S or I"));
    command->add_option("--every", arguments.every,
                        tr("Time per row: 1s (the default), 125ms, 5min"));
    command->add_option("--clock", arguments.clock,
                        tr("Seconds of a clock period: 1, 3 or 5 (the default)"));
    command
        ->add_option("--percentiles", arguments.percentiles,
                     tr("Levels exceeded in so many % of the time: 1,5,10,50,90,95,99"))
        ->delimiter(',')
        ->allow_extra_args(false);
    command->add_flag("--bands", arguments.bands, tr("Third-octave levels beside them"));
    command->callback([&arguments] {
        watchInterrupts();
        measureLevel(arguments, std::cout);
    });
}

// What those take that measure in spectra.
void addFrames(CLI::App& command, FrameArguments& arguments) {
    addMeasurement(command, arguments);
    command.add_option("--length", arguments.length, tr("Samples of a data block"));
    command.add_option("--overlap", arguments.overlap,
                       tr("How much data blocks have in common, in % (default: 50)"));
    command.add_option("--averages", arguments.averages,
                       tr("Data blocks that are averaged at most (default: all)"));
}

void addSpectra(CLI::App& app, SpectrumArguments& spectrum, BandsArguments& bands,
                TransferArguments& transfer) {
    const std::string window = tr("A window of the FFT block (default: HANNING)");
    CLI::App* command =
        app.add_subcommand("spectrum", tr("Averages spectra and finds their peaks"));
    addFrames(*command, spectrum);
    command->add_option("--window", spectrum.window, window);
    command->add_option("--peaks", spectrum.peaks, tr("At most so many (default: 10)"));
    command->callback([&spectrum] {
        watchInterrupts();
        measureSpectrum(spectrum, std::cout);
    });

    command = app.add_subcommand("bands", tr("Measures third-octave or octave levels"));
    addFrames(*command, bands);
    command->add_flag("--octaves", bands.octaves, tr("Octaves instead of third octaves"));
    command->add_option("--weighting", bands.weighting, tr("Z (the default) or A"));
    command->callback([&bands] {
        watchInterrupts();
        measureBands(bands, std::cout);
    });

    command = app.add_subcommand(
        "transfer", tr("Measures the transfer function and coherence of two channels"));
    addFrames(*command, transfer);
    command->add_option("--excitation", transfer.excitation, tr("A channel (default: 1)"));
    command->add_option("--response", transfer.response, tr("A channel (default: 2)"));
    command->add_option("--window", transfer.window, window);
    command->callback([&transfer] {
        watchInterrupts();
        measureTransfer(transfer, std::cout);
    });
}

constexpr const char* kNotWritten = words("standard output can't be written");

// What was said must have arrived: a full disk behind standard output is an error, too.
void requireWritten(std::ostream& stream) {
    if (!stream.flush()) throw RunError(kWrongInput, tr(kNotWritten));
}

std::string versionText() {
    return "vynhost " VYN_VERSION ", module interface " + std::to_string(kInterfaceVersion);
}

// --- Languages ------------------------------------------------------------------------------

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

void addLanguage(CLI::App& command, std::string& language) {
    command
        .add_option("--lang", language,
                    tr("Language of what is said and of reports: en or de (default: the system's)"))
        ->check(CLI::IsMember({codeOf(Language::english), codeOf(Language::german)}));
}

// The words that the parser of command lines adds to a help.
void putHelpIntoWords(CLI::App& app) {
    app.set_help_flag("-h,--help", tr("Print this help message and exit"));
    app.option_defaults()->group(tr("Options"));
    app.get_help_ptr()->group(tr("Options"));
    for (const char* label : {words("Usage"), words("OPTIONS"), words("Positionals"),
                              words("SUBCOMMAND"), words("REQUIRED"), words("TEXT"), words("INT"),
                              words("UINT"), words("FLOAT"), words("Needs"), words("Excludes")}) {
        app.get_formatter()->label(label, tr(label));
    }
}

// What the parser of command lines has said, in our words.
std::string retold(const std::string& message) {
    for (const char* text :
         {words("A subcommand is required"), words("The following argument was not expected: %1"),
          words("The following arguments were not expected: %1"),
          words("%1: %2 required %3 missing"), words("Could not convert: %1 = %2"),
          words("%1: %2 not in {%3}"), words("%1: Value %2 not in range %3 to %4"),
          words("%1 requires %2"), words("%1 excludes %2"), words("%1 is required")}) {
        if (const auto parts = partsOf(message, text)) {
            return filledIn(translated(text, spokenLanguage()), *parts);
        }
    }
    return message;
}

// --- Help -----------------------------------------------------------------------------------

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

void nameArguments(CLI::App& command) {
    for (CLI::Option* option : command.get_options()) {
        const std::string name = argumentOf(command.get_name(), option->get_name());
        if (!name.empty() && !isFlag(*option)) option->type_name(tr(name));
    }
}

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

struct HelpArguments {
    std::string topic;
    std::string folder;  // of the pages, where they are to be written
};

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

int obey(const std::vector<std::string>& words) {
    speak(languageOf(words));
    CLI::App app(tr("Runs diagrams of signal-analysis blocks over recordings."), "vynhost");
    putHelpIntoWords(app);
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // a path may begin with a slash
    app.set_version_flag("--version", versionText(),
                         tr("Display program version information and exit"));
    int code = kSuccess;

    ListArguments listArguments;
    CLI::App* listCommand = app.add_subcommand("list", tr("Lists block types and their keywords"));
    listCommand->add_option("TYPE", listArguments.type,
                            tr("One type, by name, class or code, with what its keywords mean"));
    CLI::Option* json = listCommand->add_flag("--json", listArguments.json, tr("As JSON"));
    listCommand
        ->add_flag("--markdown", listArguments.markdown, tr("The keywords as tables in Markdown"))
        ->excludes(json);
    listCommand->callback([&] { code = list(listArguments); });

    SkeletonArguments skeletonArguments;
    CLI::App* skeletonCommand = app.add_subcommand(
        "skeleton", tr("Prints a diagram that runs as it is, of blocks one behind the other"));
    skeletonCommand->add_option("TYPE", skeletonArguments.types, tr("Names, classes or codes"))
        ->required();
    skeletonCommand->callback([&] { code = skeleton(skeletonArguments); });

    RunArguments runArguments;
    CLI::App* runCommand = app.add_subcommand("run", tr("Runs a diagram"));
    runCommand->add_option("DIAGRAM", runArguments.diagram, tr("A TOML file"))->required();
    runCommand->add_option("--input", runArguments.inputs, tr("Another recording for a source"));
    runCommand->add_option("--out", runArguments.out, tr("Folder of the results (default: here)"));
    runCommand
        ->add_option(
            "--csv", runArguments.csv,
            tr("Tables with comma and decimal point (en, the default), or with semicolon and "
               "decimal comma (de)"))
        ->check(CLI::IsMember({"en", "de"}));
    runCommand->add_option("--report", runArguments.report,
                           tr("File of a report: everything on one page, for a browser"));
    runCommand->add_option(
        "--memory", runArguments.memory,
        tr("GiB that data blocks, curves and waiting rows may take (default: 1)"));
    runCommand->add_flag("--force", runArguments.force,
                         tr("Replace files that no run has written, too"));
    runCommand->add_flag("-q,--quiet", runArguments.quiet, tr("Errors only"));
    runCommand->add_flag("--no-progress", runArguments.noProgress,
                         tr("No line on a terminal that says how far the run is"));
    runCommand->add_flag(
        "--totals", runArguments.totals,
        tr("Say what the results come to, in a line \"total: NAME = VALUE\" each"));
    CLI::Option* each = runCommand->add_option(
        "--each", runArguments.each,
        tr("NAME=FILES: a run for each of these recordings of a source, with * "
           "and ? in their names; {name} in --out is the recording's name"));
    runCommand
        ->add_option("--jobs", runArguments.jobs,
                     tr("Runs at a time with --each (default: as many as there are processors)"))
        ->needs(each);
    runCommand
        ->add_flag("--resume", runArguments.resume,
                   tr("With --each: leave out what is done and as it was"))
        ->needs(each);
    runCommand->callback([&] { code = run(runArguments); });

    CalibrateArguments calibrateArguments;
    CLI::App* calibrateCommand = app.add_subcommand(
        "calibrate", tr("Finds the scale of a recording in the tone of a sound calibrator"));
    calibrateCommand->add_option("RECORDING", calibrateArguments.recording, tr("Of the calibrator"))
        ->required();
    calibrateCommand
        ->add_option("--level", calibrateArguments.level,
                     tr("The calibrator's level, dB re 20 uPa"))
        ->required();
    calibrateCommand->add_option("--frequency", calibrateArguments.frequency,
                                 tr("The calibrator's frequency in Hz (default: 1000)"));
    calibrateCommand->add_option("--out", calibrateArguments.out,
                                 tr("The calibration's file (default: cal.toml)"));
    calibrateCommand->add_flag(
        "--force", calibrateArguments.force,
        tr("Replace a file that is not as this program has written it, too"));
    calibrateCommand->callback([&] {
        watchInterrupts();
        calibrate(calibrateArguments, std::cout);
    });

    LevelArguments levelArguments;
    addLevel(app, levelArguments);
    SpectrumArguments spectrumArguments;
    BandsArguments bandsArguments;
    TransferArguments transferArguments;
    addSpectra(app, spectrumArguments, bandsArguments, transferArguments);

    DialogArguments dialogArguments;
    CLI::App* dialogCommand = app.add_subcommand(
        "dialog", tr("Shows a block's dialog and writes its changes into the diagram (Windows)"));
    dialogCommand->add_option("DIAGRAM", dialogArguments.diagram, tr("A TOML file"))->required();
    dialogCommand->add_option("BLOCK", dialogArguments.block, tr("A block's name in it"))
        ->required();
    dialogCommand->callback([&] { code = dialog(dialogArguments); });

    CLI::App* doctorCommand =
        app.add_subcommand("doctor", tr("Says what is installed where, and whether it works"));
    doctorCommand->callback([&] { code = examine(std::cout); });

    ValidateArguments validateArguments;
    CLI::App* validateCommand = app.add_subcommand(
        "validate",
        tr("Tries whether a module holds what a host relies on, in processes of its own"));
    validateCommand->add_option("MODULE", validateArguments.module,
                                tr("The module's file (default: the one that run uses)"));
    validateCommand
        ->add_option(
            "--level", validateArguments.level,
            tr("How hard to look: 1 (a glance) to 10 (long, for machines left alone); default: 5"))
        ->check(CLI::Range(1, 10));
    validateCommand->add_option("--seed", validateArguments.seed,
                                tr("Of everything random (default: 1)"));
    validateCommand->add_option("--check", validateArguments.check,
                                tr("Only checks whose names begin so"));
    validateCommand->add_flag("--json", validateArguments.json, tr("As JSON"));
    validateCommand->add_option("--worker", validateArguments.worker)->group("");
    validateCommand->callback([&] { code = validateModule(validateArguments, std::cout); });

    HelpArguments helpArguments;
    CLI::App* helpCommand = app.add_subcommand(
        "help", tr("Says how a command is used, or what there is to know about a topic"));
    helpCommand->add_option("TOPIC", helpArguments.topic,
                            tr("A command, a block type, or one of: %1", topicsNamed()));
    helpCommand->add_option("--write-pages", helpArguments.folder)->group("");
    helpCommand->callback([&] { help(app, helpArguments); });
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
