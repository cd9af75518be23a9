// What digital full scale stands for, from a sensor's sensitivity and an input's range.
#pragma once

#include <string>
#include <string_view>
#include <variant>

namespace vynhost {

// "10 V" over "50 mV/Pa" is 200 Pa. The unit is what stands behind the line of the sensitivity,
// without the brackets around it: "100 mV/(m/s^2)" gives m/s^2.
struct FullScale {
    double value = 1;
    std::string unit;
};

// A text instead of a full scale says what is wrong: `inRange` tells with which of the two.
struct SensitivityFlaw {
    bool inRange = false;
    std::string what;
};

std::variant<FullScale, SensitivityFlaw> fullScaleOf(std::string_view sensitivity,
                                                     std::string_view range);

}  // namespace vynhost
