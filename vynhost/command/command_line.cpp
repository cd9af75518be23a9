#include "vynhost/command/command_line.h"

#include <iostream>

#include "vynhost/base/messages.h"
#include "vynhost/command/doctor.h"
#include "vynhost/command/measurement.h"
#include "vynhost/run/interrupt.h"

namespace vynhost {
namespace {

void addTableStyle(CLI::App& command, std::string& style) {
    command
        .add_option(
            "--csv", style,
            tr("Tables with comma and decimal point (en, the default), or with semicolon and "
               "decimal comma (de)"))
        ->check(CLI::IsMember({"en", "de"}));
}

// How a run treats older results and the terminal.
template <class Arguments>
void addRunFlags(CLI::App& command, Arguments& arguments) {
    command.add_flag("--force", arguments.force, tr("Replace files that no run has written, too"));
    command.add_flag("-q,--quiet", arguments.quiet, tr("Errors only"));
    command.add_flag("--no-progress", arguments.noProgress,
                     tr("No line on a terminal that says how far the run is"));
}

void addList(CLI::App& app, ListArguments& arguments, int& code) {
    CLI::App* command = app.add_subcommand("list", tr("Lists block types and their keywords"));
    command->add_option("TYPE", arguments.type,
                        tr("One type, by name, class or code, with what its keywords mean"));
    CLI::Option* json = command->add_flag("--json", arguments.json, tr("As JSON"));
    command->add_flag("--markdown", arguments.markdown, tr("The keywords as tables in Markdown"))
        ->excludes(json);
    command->callback([&arguments, &code] { code = list(arguments); });
}

void addSkeleton(CLI::App& app, SkeletonArguments& arguments, int& code) {
    CLI::App* command = app.add_subcommand(
        "skeleton", tr("Prints a diagram that runs as it is, of blocks one behind the other"));
    command->add_option("TYPE", arguments.types, tr("Names, classes or codes"))->required();
    command->callback([&arguments, &code] { code = skeleton(arguments); });
}

void addRun(CLI::App& app, RunArguments& arguments, int& code) {
    CLI::App* command = app.add_subcommand("run", tr("Runs a diagram"));
    command->add_option("DIAGRAM", arguments.diagram, tr("A TOML file"))->required();
    command->add_option("--input", arguments.inputs, tr("Another recording for a source"));
    command->add_option("--out", arguments.out, tr("Folder of the results (default: here)"));
    addTableStyle(*command, arguments.csv);
    command->add_option("--report", arguments.report,
                        tr("File of a report: everything on one page, for a browser"));
    command->add_option("--memory", arguments.memory,
                        tr("GiB that data blocks, curves and waiting rows may take (default: 1)"));
    addRunFlags(*command, arguments);
    command->add_flag("--totals", arguments.totals,
                      tr("Say what the results come to, in a line \"total: NAME = VALUE\" each"));
    CLI::Option* each =
        command->add_option("--each", arguments.each,
                            tr("NAME=FILES: a run for each of these recordings of a source, with * "
                               "and ? in their names; {name} in --out is the recording's name"));
    command
        ->add_option("--jobs", arguments.jobs,
                     tr("Runs at a time with --each (default: as many as there are processors)"))
        ->needs(each);
    command
        ->add_flag("--resume", arguments.resume,
                   tr("With --each: leave out what is done and as it was"))
        ->needs(each);
    command->callback([&arguments, &code] { code = run(arguments); });
}

void addCalibrate(CLI::App& app, CalibrateArguments& arguments) {
    CLI::App* command = app.add_subcommand(
        "calibrate", tr("Finds the scale of a recording in the tone of a sound calibrator"));
    command->add_option("RECORDING", arguments.recording, tr("Of the calibrator"))->required();
    command->add_option("--level", arguments.level, tr("The calibrator's level, dB re 20 uPa"))
        ->required();
    command->add_option("--frequency", arguments.frequency,
                        tr("The calibrator's frequency in Hz (default: 1000)"));
    command->add_option("--out", arguments.out, tr("The calibration's file (default: cal.toml)"));
    command->add_flag("--force", arguments.force,
                      tr("Replace a file that is not as this program has written it, too"));
    command->callback([&arguments] {
        watchInterrupts();
        calibrate(arguments, std::cout);
    });
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
    addTableStyle(command, arguments.csv);
    command.add_option("--memory", arguments.memory,
                       tr("GiB that data blocks, curves and waiting rows may take (default: 1)"));
    command.add_flag("--diagram", arguments.diagram,
                     tr("Print the diagram of these blocks instead of running it"));
    addRunFlags(command, arguments);
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

void addDialog(CLI::App& app, DialogArguments& arguments, int& code) {
    CLI::App* command = app.add_subcommand(
        "dialog", tr("Shows a block's dialog and writes its changes into the diagram (Windows)"));
    command->add_option("DIAGRAM", arguments.diagram, tr("A TOML file"))->required();
    command->add_option("BLOCK", arguments.block, tr("A block's name in it"))->required();
    command->callback([&arguments, &code] { code = dialog(arguments); });
}

void addDoctor(CLI::App& app, int& code) {
    CLI::App* command =
        app.add_subcommand("doctor", tr("Says what is installed where, and whether it works"));
    command->callback([&code] { code = examine(std::cout); });
}

void addValidate(CLI::App& app, ValidateArguments& arguments, int& code) {
    CLI::App* command = app.add_subcommand(
        "validate",
        tr("Tries whether a module holds what a host relies on, in processes of its own"));
    command->add_option("MODULE", arguments.module,
                        tr("The module's file (default: the one that run uses)"));
    command
        ->add_option(
            "--level", arguments.level,
            tr("How hard to look: 1 (a glance) to 10 (long, for machines left alone); default: 5"))
        ->check(CLI::Range(1, 10));
    command->add_option("--seed", arguments.seed, tr("Of everything random (default: 1)"));
    command->add_option("--check", arguments.check, tr("Only checks whose names begin so"));
    command->add_flag("--json", arguments.json, tr("As JSON"));
    command->add_option("--worker", arguments.worker)->group("");
    command->callback([&arguments, &code] { code = validateModule(arguments, std::cout); });
}

void addHelp(CLI::App& app, HelpArguments& arguments) {
    CLI::App* command = app.add_subcommand(
        "help", tr("Says how a command is used, or what there is to know about a topic"));
    command->add_option("TOPIC", arguments.topic,
                        tr("A command, a block type, or one of: %1", topicsNamed()));
    command->add_option("--write-pages", arguments.folder)->group("");
    command->callback([&app, &arguments] { help(app, arguments); });
}

}  // namespace

void addCommands(CLI::App& app, CommandArguments& arguments, int& code) {
    addList(app, arguments.list, code);
    addSkeleton(app, arguments.skeleton, code);
    addRun(app, arguments.run, code);
    addCalibrate(app, arguments.calibrate);
    addLevel(app, arguments.level);
    addSpectra(app, arguments.spectrum, arguments.bands, arguments.transfer);
    addDialog(app, arguments.dialog, code);
    addDoctor(app, code);
    addValidate(app, arguments.validate, code);
    addHelp(app, arguments.help);
}

void addLanguage(CLI::App& command, std::string& language) {
    command
        .add_option("--lang", language,
                    tr("Language of what is said and of reports: en or de (default: the system's)"))
        ->check(CLI::IsMember({codeOf(Language::english), codeOf(Language::german)}));
}

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

}  // namespace vynhost
