#include "dialogs/window_rules.h"

#include "blocks/spectral/core/window_functions.h"
#include "dialogs/dialog_numbers.h"

namespace vynpack {

bool windowTakesCorrection(int window) noexcept {
    return window != kNoWindow && window != kRectangleWindow;
}

bool windowTakesParameter(int window) noexcept {
    return window == kKaiserWindow || (window >= kCauchyWindow && window <= kExponentialWindow);
}

double windowParameterOf(std::string_view text) noexcept {
    const double value = readNumber(text.substr(0, kWindowParameterLength));
    if (value >= 100.0) return 100.0;
    return value <= 0.0 ? 0.0 : value;
}

}  // namespace vynpack
