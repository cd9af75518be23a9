// vynhost calibrate: the recording of a sound calibrator becomes a calibration that sources name.
#pragma once

#include <ostream>
#include <string>

namespace vynhost {

struct CalibrateArguments {
    std::string recording;
    double level = 94;        // of the calibrator, dB re 20 uPa
    double frequency = 1000;  // of the calibrator, Hz
    std::string out = "cal.toml";
    bool force = false;
};

// Says what it finds in each channel and writes the calibration. Raises RunError: with kDifferent
// where a channel holds no calibrator's tone, else with kWrongInput; then nothing is written.
void calibrate(const CalibrateArguments& arguments, std::ostream& out);

}  // namespace vynhost
