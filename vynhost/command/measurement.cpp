#include "vynhost/command/measurement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/memory_limit.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/calibration.h"
#include "vynhost/diagram/sensitivity.h"
#include "vynhost/run/recording.h"

namespace vynhost {
namespace {

// The name of the recording in these diagrams.
constexpr const char* kRecording = "recording";
constexpr const char* kTotal = "total";

Diagram diagramOf(const std::string& text, const std::string& command, bool writes) {
    // Errors name the line of what --diagram prints.
    Diagram diagram = parseDiagram(text, pathOf("vynhost " + command + " --diagram"));
    for (SinkEntry& sink : diagram.sinks) {
        // What it has of the whole recording stands in a table of the report.
        if (sink.name == kTotal) sink.inReport = false;
        if (writes) continue;
        sink.csv.clear();
        sink.svg.clear();
    }
    return diagram;
}

std::string titleOf(const std::string& command, const MeasurementArguments& arguments) {
    return command + ", " + textOf(pathOf(arguments.recording).filename());
}

std::string scaleText(const MeasurementArguments& arguments, std::span<const int> channels) {
    std::string text;
    const auto line = [&](const char* key, const std::string& value) {
        if (!value.empty()) text += std::string(key) + " = " + tomlString(value) + "\n";
    };
    const auto list = [&](const char* key, const auto& values) {
        text += std::string(key) + " = [";
        for (std::size_t i = 0; i < values.size(); ++i)
            text += (i == 0 ? "" : ", ") + toText(values[i]);
        text += "]\n";
    };
    line("calibration", arguments.calibration);
    line("sensitivity", arguments.sensitivity);
    line("range", arguments.range);
    line("unit", arguments.unit);
    if (!channels.empty()) list("channels", channels);
    std::vector<double> scales = arguments.fullScale;
    for (double& scale : scales) {
        if (!std::isfinite(scale)) throw InputError(tr("--full-scale must be finite numbers"));
    }
    if (!scales.empty()) list("full_scale", scales);
    return text;
}

std::string sourceWith(const std::string& name, const MeasurementArguments& arguments,
                       const std::string& scale, const std::string& lines) {
    std::string file = "[source." + name + "]\nfile = " + tomlString(arguments.recording) + "\n";
    if (!arguments.variable.empty()) {
        file += "variable = " + tomlString(arguments.variable) + "\n";
    }
    if (arguments.rate != 0) file += "rate = " + toText(arguments.rate) + "\n";
    return file + scale + lines;
}

}  // namespace

RecordingFacts factsOf(const MeasurementArguments& arguments) {
    const std::filesystem::path file = pathOf(arguments.recording);
    const Place place{textOf(file), 0, ""};
    try {
        return withMemory(place, [&] {
            const std::optional<double> rate =
                arguments.rate == 0 ? std::nullopt : std::optional(arguments.rate);
            const auto recording =
                openRecording(file, rate, Truncated::refuse, {.variable = arguments.variable});
            return RecordingFacts{recording->rate(), recording->frames(), recording->channels()};
        });
    } catch (const RecordingError& error) {
        throw InputError(place, error.what());
    }
}

std::uint64_t memoryOf(double gibibytes) {
    constexpr double kGibi = 1 << 30;
    constexpr double kMost = 1 << 20;
    if (!(gibibytes > 0 && gibibytes <= kMost)) {
        throw InputError(tr("--memory must be above 0, in GiB, and 1048576 at most"));
    }
    return static_cast<std::uint64_t>(gibibytes * kGibi);
}

double secondsOf(const std::string& text, const char* option) {
    constexpr std::array<std::pair<std::string_view, double>, 4> kUnits = {
        {{"ms", 1e-3}, {"min", 60}, {"s", 1}, {"h", 3600}}};
    constexpr double kLongest = 1e6;
    std::string_view number = text;
    double factor = 1;
    for (const auto& [unit, seconds] : kUnits) {
        if (!number.ends_with(unit)) continue;
        number.remove_suffix(unit.size());
        factor = seconds;
        break;
    }
    const std::optional<double> value = toNumber(number);
    if (!value || !(*value * factor > 0) || !(*value * factor <= kLongest)) {
        throw InputError(
            tr("%1 %2: must be a time as 1s, 125ms, 5min or 1h, at most 1000000 s", option, text));
    }
    return *value * factor;
}

std::string reportText(const MeasurementArguments& arguments) {
    return arguments.report.empty() ? "" : "report = " + tomlString(arguments.report) + "\n\n";
}

std::string sourceText(const std::string& name, const MeasurementArguments& arguments,
                       const std::string& lines) {
    return sourceWith(name, arguments, scaleText(arguments, arguments.channels), lines);
}

std::string channelText(const std::string& name, const MeasurementArguments& arguments, int channel,
                        const std::string& lines) {
    MeasurementArguments one = arguments;
    // A list is for the chosen channels, in their order.
    if (one.fullScale.size() > 1) {
        const auto found = std::ranges::find(arguments.channels, channel);
        const auto index = arguments.channels.empty()
                               ? static_cast<std::size_t>(channel - 1)
                               : static_cast<std::size_t>(found - arguments.channels.begin());
        if (index >= one.fullScale.size()) {
            throw InputError(tr("--full-scale has no value for channel %1", channel));
        }
        one.fullScale = {arguments.fullScale[index]};
    }
    return sourceWith(name, one, scaleText(one, std::array{channel}), lines);
}

bool isPressure(const MeasurementArguments& arguments) {
    if (!arguments.calibration.empty() || arguments.unit == "Pa") return true;
    const auto given = fullScaleOf(arguments.sensitivity, arguments.range);
    const auto* scale = std::get_if<FullScale>(&given);
    return scale != nullptr && scale->unit == "Pa";
}

std::string bandName(double centre) {
    constexpr double kKilo = 1000;
    return centre < kKilo ? toText(centre) : toText(centre / kKilo) + "k";
}

double referenceOf(const Quantity& signal) { return signal.unit == "Pa" ? kReferencePressure : 1; }

Measurement::Measurement(const std::string& command, const std::string& diagram,
                         const MeasurementArguments& arguments)
    : arguments_(arguments),
      diagram_(diagramOf(diagram, command, !arguments.out.empty())),
      writes_(!arguments.out.empty()),
      job_(std::make_unique<DiagramJob>(
          diagram_, JobSettings{.out = pathOf(writes_ ? arguments.out : "."),
                                .tables = &tableStyleNamed(arguments.csv),
                                .memory = memoryOf(arguments.memory),
                                .force = arguments.force,
                                .showsProgress = !arguments.quiet && !arguments.noProgress,
                                .version = arguments.version,
                                .title = titleOf(command, arguments),
                                .language = spokenLanguage()})) {}

void Measurement::add(const std::string& name, const std::string& content) {
    if (writes_) job_->files().add(name, content);
}

const Quantity& Measurement::quantity() const {
    return job_->runner().outlet({kRecording, "", {}}).kind.values;
}

std::vector<std::string> Measurement::channelNames(std::size_t channels) const {
    std::vector<std::string> names = job_->runner().outlet({kRecording, "", {}}).channels;
    names.resize(channels);
    for (std::size_t i = 0; i < channels; ++i) {
        const int number =
            arguments_.channels.empty() ? static_cast<int>(i) + 1 : arguments_.channels.at(i);
        if (names[i].empty()) names[i] = std::to_string(number);
    }
    return names;
}

void Measurement::sayNotes(std::ostream& out, std::span<const std::string> silent) const {
    if (arguments_.quiet) return;
    for (const std::string& note : job_->runner().notes()) {
        const bool isSilent = std::ranges::any_of(
            silent, [&](const std::string& name) { return note.starts_with(name + ": "); });
        if (!isSilent) out << printable(note) << '\n';
    }
}

void Measurement::commit(std::ostream& out) {
    if (!writes_ && arguments_.report.empty()) return;
    for (const std::filesystem::path& path : job_->commit()) {
        if (!arguments_.quiet) out << printable(tr("wrote %1", textOf(path))) << '\n';
    }
}

}  // namespace vynhost
