// A calibration: what `vynhost calibrate` has found in the recording of a sound calibrator, as a
// file that sources name.
//
//     [calibration]
//     recording = "cal.wav"        # which was calibrated by, without its folder
//     rate = 48000                 # its samples per second
//     seconds = 10                 # its length
//     level = 94                   # of the calibrator, dB re 20 uPa
//     frequency = 1000             # of the calibrator, Hz
//
//     [[channel]]                  # one for each channel of the recording, in their order
//     full_scale = 20              # pascals that a recorded value of 1 stands for
//     recorded_in = "V"            # the unit that the recording names, if it does
//     frequency = 1000.02          # found, Hz
//     drift = 0.003                # highest level less lowest one, dB
//     distortion = 0.04            # with noise, % of the tone
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vynhost {

// The reference of sound pressure levels, in pascals (ISO 1683).
inline constexpr double kReferencePressure = 2e-5;

// What a channel's full scale may be; single precision scales by it.
inline constexpr double kLowestScale = 1e-30;
inline constexpr double kHighestScale = 1e30;

struct Calibration {
    struct Channel {
        double fullScale = 1;
        std::string recordedIn;  // empty: digital full scale
        double frequency = 0;
        double drift = 0;
        double distortion = 0;
    };

    std::string recording;
    double rate = 0;
    double seconds = 0;
    double level = 0;
    double frequency = 0;
    std::vector<Channel> channels;
};

// The text of such a file.
std::string fileTextOf(const Calibration& calibration);

// Raises InputError, with file, line and key, for anything that is not as it was written.
Calibration readCalibration(const std::filesystem::path& file);

}  // namespace vynhost
