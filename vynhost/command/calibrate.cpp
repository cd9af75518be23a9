#include "vynhost/command/calibrate.h"

#include <cmath>
#include <cstdio>

#include "vynhost/base/errors.h"
#include "vynhost/base/memory_limit.h"
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
    return "channel " + std::to_string(index + 1) +
           (channel.name.empty() ? "" : " (" + channel.name + ")");
}

std::string findingText(const Calibration::Channel& found) {
    return (found.recordedIn.empty() ? "full scale" : "1 " + found.recordedIn) + " is " +
           toText(found.fullScale, 6) + " Pa; " + fixed(found.frequency, 2) + " Hz, drift " +
           fixed(found.drift, 3) + " dB, distortion and noise " + fixed(found.distortion, 2) + " %";
}

void requireSense(const CalibrateArguments& arguments) {
    constexpr double kQuietest = -20;
    constexpr double kLoudest = 200;
    if (!(arguments.level >= kQuietest && arguments.level <= kLoudest)) {
        throw InputError("--level must be from -20 to 200, in dB re 20 uPa");
    }
    if (!(arguments.frequency >= kLowestToneFrequency && std::isfinite(arguments.frequency))) {
        throw InputError("--frequency must be 20 or above, in Hz");
    }
}

}  // namespace

void calibrate(const CalibrateArguments& arguments, std::ostream& out) {
    requireSense(arguments);
    const std::filesystem::path file = pathOf(arguments.recording);
    const std::filesystem::path result = pathOf(arguments.out);
    const Place place{textOf(file), 0, ""};
    ResultFiles files(result.parent_path(), {{file, "the recording"}}, arguments.force);
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
            out << printable(title + ": no calibrator's tone: " + *flaw) << '\n';
            if (flaws.empty()) flaws = title + " holds no calibrator's tone: " + *flaw;
            continue;
        }
        // Anything else could not be read back.
        const double scale = pressure / tone.rms;
        if (!(scale >= kLowestScale && scale <= kHighestScale)) {
            throw InputError(place, title + ": the values are too small or too large to be scaled");
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
        out << printable("wrote " + textOf(path)) << '\n';
}

}  // namespace vynhost
