// The tone of a sound calibrator in a recording: how large it is, at which frequency, how steady
// and how pure.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vynhost/run/recording.h"

namespace vynhost {

// What a calibrator's tone may deviate by.
inline constexpr double kMostDrift = 0.1;           // dB
inline constexpr double kMostFrequencyError = 2;    // % of what the calibrator should give
inline constexpr double kMostDistortion = 3;        // %
inline constexpr double kLowestToneFrequency = 20;  // Hz

// Of one channel.
struct ToneFinding {
    double rms = 0;         // of the tone, in the recording's values
    double frequency = 0;   // Hz
    double drift = 0;       // highest level of a section less the lowest one, dB
    double distortion = 0;  // with noise: all but tone and mean, % of the tone (IEC 60942)
    double peak = 0;        // largest magnitude of a value
    bool isSilent = false;  // in a section at least all values are the same
    bool isFinite = true;
};

// A recording that holds too little of a tone to tell.
struct TooShort : RecordingError {
    using RecordingError::RecordingError;
};

// One per channel. The recording is read to its end in sections of a quarter of a second or 50
// periods at `frequency`, whichever is longer, each of which is searched for its strongest tone.
// Raises TooShort for fewer than four sections, RecordingError for a frequency out of range.
std::vector<ToneFinding> findTones(Recording& recording, double frequency);

// In one line why it is no calibrator's tone at this frequency in Hz; nothing where it is one.
// `countsFullScale`: values of 1 are digital full scale, so that clipping shows.
std::optional<std::string> flawOf(const ToneFinding& tone, double frequency, bool countsFullScale);

}  // namespace vynhost
