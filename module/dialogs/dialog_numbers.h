// Numbers as the dialogs show and read them: decimal point, independent of the host's locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/dialog.h"

namespace vynpack {

using platform::ScrollStep;

// As printf's "%g".
// Kept: six digits are shown, so that a dialog that is opened and accepted rounds what it stores.
std::string showNumber(double value);

// As printf's "%d".
std::string showInteger(std::int64_t value);

// The number at the beginning of the text; text that is no number ("nan" and "inf" included) reads
// as 0, a number beyond the range of double as the largest one of its sign.
double readNumber(std::string_view text) noexcept;

// The decimal integer at the beginning of the text; text that is no number reads as 0, a number
// beyond the range as the nearest value within it.
std::int32_t readInteger(std::string_view text) noexcept;
// The same for unsigned numbers; negative ones read as 0.
std::uint32_t readUnsigned(std::string_view text) noexcept;

// Towards zero, limited to the range of int32; not-a-number is 0.
std::int32_t wholePart(double value) noexcept;

// One click on the arrows beside an edit: the number in `text` and `step` more or less.
struct SpinRange {
    double step;
    double lowest;
    double highest;
};
double stepped(std::string_view text, ScrollStep direction, double step) noexcept;
// As shown: limited to the range; a limit that is a whole number is written as one.
std::string showStepped(std::string_view text, ScrollStep direction, const SpinRange& range);

}  // namespace vynpack
