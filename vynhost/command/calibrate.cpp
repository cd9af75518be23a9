#include "vynhost/command/calibrate.h"

#include <cmath>
#include <cstdio>

#include "vynhost/base/errors.h"
#include "vynhost/base/memory_limit.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/calibration.h"
#include "vynhost/results/result_files.h"
#include "vynhost/run/calibrator_tone.h"

namespace vynhost {
namespace {

std::string fixed(double number, int decimals) {
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, number);
    return text;
}

std::string channelTitle(std::size_t index, const Recording::Channel& channel) {
    const std::string name = channel.name.empty() ? "" : " (" + channel.name + ")";
    return tr("channel %1", index + 1) + name;
}

std::string findingText(const Calibration::Channel& found) {
    return tr("%1 is %2 Pa; %3 Hz, drift %4 dB, distortion and noise %5 %",
              found.recordedIn.empty() ? tr("full scale") : "1 " + found.recordedIn,
              toText(found.fullScale, 6), fixed(found.frequency, 2), fixed(found.drift, 3),
              fixed(found.distortion, 2));
}

void requireSense(const CalibrateArguments& arguments) {
    constexpr double kQuietest = -20;
    constexpr double kLoudest = 200;
    if (!(arguments.level >= kQuietest && arguments.level <= kLoudest)) {
        throw InputError(tr("--level must be from -20 to 200, in dB re 20 uPa"));
    }
    if (!(arguments.frequency >= kLowestToneFrequency && std::isfinite(arguments.frequency))) {
        throw InputError(tr("--frequency must be 20 or above, in Hz"));
    }
}

}  // namespace

void calibrate(const CalibrateArguments& arguments, std::ostream& out) {
    requireSense(arguments);
    const std::filesystem::path file = pathOf(arguments.recording);
    const std::filesystem::path result = pathOf(arguments.out);
    const Place place{textOf(file), 0, ""};
    ResultFiles files(result.parent_path(), {{file, tr("the recording")}}, arguments.force);
    files.claim(textOf(result.filename()));
    Calibration calibration{.recording = textOf(file.filename()),
                            .level = arguments.level,
                            .frequency = arguments.frequency,
                            .channels = {}};
    std::vector<ToneFinding> tones;
    std::vector<Recording::Channel> channels;
    try {
        withMemory(place, [&] {
            const auto recording = openRecording(file, std::nullopt);
            calibration.rate = recording->rate();
            calibration.seconds = static_cast<double>(recording->frames()) / recording->rate();
            tones = findTones(*recording, arguments.frequency);
            for (std::size_t i = 0; i < tones.size(); ++i)
                channels.push_back(recording->channel(i));
        });
    } catch (const TooShort& error) {
        throw RunError(kDifferent, textOf(file) + ": " + error.what());
    } catch (const RecordingError& error) {
        throw InputError(place, error.what());
    }
    const double pressure = kReferencePressure * std::pow(10.0, arguments.level / 20);
    std::string flaws;
    for (std::size_t i = 0; i < tones.size(); ++i) {
        const ToneFinding& tone = tones[i];
        const std::string title = channelTitle(i, channels[i]);
        if (const auto flaw = flawOf(tone, arguments.frequency, channels[i].unit.empty())) {
            out << printable(tr("%1: no calibrator's tone: %2", title, *flaw)) << '\n';
            if (flaws.empty()) flaws = tr("%1 holds no calibrator's tone: %2", title, *flaw);
            continue;
        }
        // Anything else could not be read back.
        const double scale = pressure / tone.rms;
        if (!(scale >= kLowestScale && scale <= kHighestScale)) {
            throw InputError(place,
                             tr("%1: the values are too small or too large to be scaled", title));
        }
        calibration.channels.push_back({.fullScale = scale,
                                        .recordedIn = channels[i].unit,
                                        .frequency = tone.frequency,
                                        .drift = tone.drift,
                                        .distortion = tone.distortion});
        out << printable(title + ": " + findingText(calibration.channels.back())) << '\n';
    }
    if (!flaws.empty()) throw RunError(kDifferent, textOf(file) + ": " + flaws);
    files.add(textOf(result.filename()), fileTextOf(calibration));
    for (const std::filesystem::path& path : files.commit())
        out << printable(tr("wrote %1", textOf(path))) << '\n';
}

}  // namespace vynhost
