#include "vynhost/command/diagram_job.h"

#include <iostream>
#include <optional>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/platform/terminal.h"
#include "vynhost/command/progress_line.h"
#include "vynhost/run/interrupt.h"

namespace vynhost {
namespace {

// Looked for when the results' names are known to be free.
Installation installationFor(const Diagram& diagram, ResultFiles& files) {
    for (const SinkEntry& sink : diagram.sinks)
        Sink::claimFiles(sink, files);
    if (!diagram.report.empty()) files.claim(diagram.report, diagram.reportPlace);
    Installation installation = findInstallation();
    requireLibrary(installation);
    return installation;
}

}  // namespace

const TableStyle& tableStyleNamed(std::string_view name) {
    return name == "de" ? kCommaTables : kPointTables;
}

std::vector<ReadFile> readFiles(const Diagram& diagram,
                                const std::map<std::string, std::filesystem::path>& inputs) {
    std::vector<ReadFile> files = {{diagram.file, tr("the diagram")}};
    for (const SourceEntry& source : diagram.sources) {
        if (!source.file.empty() && source.file != "-")
            files.push_back({source.file, tr("the recording of %1", source.name)});
        if (!source.calibration.empty()) {
            files.push_back({source.calibration, tr("the calibration of %1", source.name)});
        }
    }
    for (const auto& [name, file] : inputs)
        files.push_back({file, tr("the recording of %1", name)});
    return files;
}

DiagramJob::DiagramJob(const Diagram& diagram, const JobSettings& settings)
    : diagram_(diagram),
      settings_(settings),
      files_(settings.out, readFiles(diagram, settings.inputs), settings.force),
      installation_(installationFor(diagram, files_)),
      module_(loadModule(installation_)),
      host_(module_, {.mostValues = settings.memory / sizeof(float)}),
      runner_(host_, diagram, settings.inputs, settings.memory) {
    for (const SinkEntry& entry : diagram.sinks)
        sinks_.emplace_back(entry, runner_, files_, *settings.tables);
    for (const CompareEntry& entry : diagram.comparisons)
        comparers_.emplace_back(entry, runner_);
    if (!diagram.report.empty()) report_ = &files_.open(diagram.report);
}

void DiagramJob::run() {
    std::optional<ProgressLine> progress;
    if (const auto columns = platform::terminalColumns(); columns && settings_.showsProgress) {
        progress.emplace(std::cerr, *columns);
        runner_.watch([&](const Runner::Progress& now) { progress->show(now); });
    }
    runner_.run();
    if (progress) progress->say(tr("writing the results"));
    for (const Comparer& comparer : comparers_)
        compared_.push_back(comparer.result());
    for (Sink& sink : sinks_)
        sink.finish();
    runner_.watch({});
}

void DiagramJob::writeReport() {
    std::string why;
    const std::filesystem::path library = installation_.library()->file;
    report_->write(
        reportPage({settings_.title.empty() ? textOf(diagram_.file.stem()) : settings_.title,
                    diagram_,
                    runner_,
                    sinks_,
                    compared_,
                    {settings_.version, host_.getInfo(kFirstType, kInterface), installation_.module,
                     library, libraryVersion(library, why).value_or("?")},
                    settings_.language,
                    std::move(reportTables_),
                    silent_}));
}

std::vector<std::filesystem::path> DiagramJob::commit() {
    if (interrupted()) throw RunError(kInterrupted, tr("interrupted, no file is written"));
    if (report_ != nullptr) writeReport();
    return files_.commit();
}

}  // namespace vynhost
