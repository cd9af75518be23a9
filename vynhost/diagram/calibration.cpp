#include "vynhost/diagram/calibration.h"

#include <cmath>

#include "vynhost/base/limits.h"
#include "vynhost/base/messages.h"
#include "vynhost/diagram/toml_section.h"

namespace vynhost {
namespace {

constexpr double kSmall = 1e-30;  // of numbers that only have to be some
constexpr double kLarge = 1e30;
constexpr int kDigits = 9;  // single precision, in which a source is scaled, keeps seven

std::string line(const char* key, double value, const char* comment) {
    return std::string(key) + " = " + toText(value, kDigits) + "  # " + comment + "\n";
}

double neededNumber(const Section& section, const char* name, double lowest, double highest) {
    const std::optional<double> value = section.number(name);
    if (!value) throw InputError(section.place(), tr("%1 is missing", name));
    if (!(*value >= lowest && *value <= highest)) {
        section.fail(name, tr("must be from %1 to %2", lowest, highest));
    }
    return *value;
}

Calibration::Channel channelOf(const Section& section) {
    section.allowOnly({"full_scale", "recorded_in", "frequency", "drift", "distortion"});
    return {.fullScale = neededNumber(section, "full_scale", kLowestScale, kHighestScale),
            .recordedIn = section.text("recorded_in"),
            .frequency = neededNumber(section, "frequency", kSmall, kLarge),
            .drift = neededNumber(section, "drift", 0, kLarge),
            .distortion = neededNumber(section, "distortion", 0, kLarge)};
}

}  // namespace

std::string fileTextOf(const Calibration& calibration) {
    std::string text =
        "# A calibration, written by vynhost calibrate. Sources take it by calibration = "
        "\"FILE\".\n"
        "[calibration]\nrecording = " +
        tomlString(printable(calibration.recording)) + "\n" + line("rate", calibration.rate, "Hz") +
        line("seconds", calibration.seconds, "long") +
        line("level", calibration.level, "dB re 20 uPa, of the calibrator") +
        line("frequency", calibration.frequency, "Hz, of the calibrator");
    for (const Calibration::Channel& channel : calibration.channels) {
        text += "\n[[channel]]\n";
        text += line("full_scale", channel.fullScale, "Pa for a recorded value of 1");
        if (!channel.recordedIn.empty()) {
            text += "recorded_in = " + tomlString(printable(channel.recordedIn)) + "\n";
        }
        text += line("frequency", channel.frequency, "Hz, found") +
                line("drift", channel.drift, "dB, highest level less lowest one") +
                line("distortion", channel.distortion, "%, with noise");
    }
    return text;
}

Calibration readCalibration(const std::filesystem::path& file) {
    const std::string name = textOf(file);
    const toml::table root = parseToml(tomlTextOf(file), name);
    const Section all(name, "", root);
    all.allowOnly({"calibration", "channel"});
    const toml::node* head = root.get("calibration");
    if (head == nullptr || !head->is_table()) {
        throw InputError({name, 0, ""}, tr("is no calibration: it has no [calibration]"));
    }
    const Section section(name, "calibration", *head->as_table());
    section.allowOnly({"recording", "rate", "seconds", "level", "frequency"});
    constexpr double kLoudest = 300;
    Calibration calibration{.recording = section.neededText("recording"),
                            .rate = neededNumber(section, "rate", kSmall, kLarge),
                            .seconds = neededNumber(section, "seconds", kSmall, kLarge),
                            .level = neededNumber(section, "level", -kLoudest, kLoudest),
                            .frequency = neededNumber(section, "frequency", kSmall, kLarge),
                            .channels = {}};
    const toml::array* channels =
        root.get("channel") == nullptr ? nullptr : root.get("channel")->as_array();
    if (channels == nullptr || channels->empty() || channels->size() > kMostChannels) {
        throw InputError({name, 0, ""}, tr("must have a [[channel]] for each channel, 1 to 1024"));
    }
    for (const toml::node& node : *channels) {
        if (!node.is_table()) {
            throw InputError({name, Section::lineOf(node), "channel"}, tr("must be a table"));
        }
        calibration.channels.push_back(channelOf(Section(name, "channel", *node.as_table())));
    }
    return calibration;
}

}  // namespace vynhost
