#include "vynhost/command/commands.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <optional>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/batch.h"
#include "vynhost/command/diagram_job.h"
#include "vynhost/command/list.h"
#include "vynhost/command/measurement.h"
#include "vynhost/command/skeleton.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/interface/platform/system.h"
#include "vynhost/results/totals.h"
#include "vynhost/run/interrupt.h"

namespace vynhost {
namespace {

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

}  // namespace

void complain(std::string_view text) {
    std::cerr << messageLine("vynhost: " + std::string(text)) << '\n';
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

}  // namespace vynhost
