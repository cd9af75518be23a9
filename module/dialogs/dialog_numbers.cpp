#include "dialogs/dialog_numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace vynpack {
namespace {

// Leading white space and a plus sign are allowed, as users type them.
std::string_view significant(std::string_view text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

bool startsNumber(std::string_view text) noexcept {
    text.remove_prefix(text.starts_with('-') ? 1 : 0);
    return !text.empty() && (text[0] == '.' || (text[0] >= '0' && text[0] <= '9'));
}

// from_chars does not tell whether a number was too large or too small. It is too large when its
// first significant digit, moved by the exponent, stands before the point.
bool magnitudeAboveOne(std::string_view text) noexcept {
    const std::size_t mantissaEnd = std::min(text.find_first_of("eE"), text.size());
    std::int64_t exponent = 0;
    if (mantissaEnd < text.size()) {
        std::string_view digits = text.substr(mantissaEnd + 1);
        if (digits.starts_with('+')) digits.remove_prefix(1);
        const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
        if (end.ec == std::errc::result_out_of_range) {
            exponent = digits.starts_with('-') ? -1'000'000 : 1'000'000;
        }
    }
    const std::string_view mantissa = text.substr(0, mantissaEnd);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t digit = mantissa.find_first_of("123456789");
    const auto place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(digit);
    return place + exponent > 0;
}

template <class Integer>
Integer readWhole(std::string_view text) noexcept {
    text = significant(text);
    Integer value = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end.ec == std::errc::result_out_of_range) {
        return text.starts_with('-') ? std::numeric_limits<Integer>::min()
                                     : std::numeric_limits<Integer>::max();
    }
    return value;
}

std::string showLimit(double limit) {
    constexpr double kLargestShown = 1e9;
    const bool whole = std::trunc(limit) == limit && std::abs(limit) < kLargestShown;
    return whole ? showInteger(wholePart(limit)) : showNumber(limit);
}

}  // namespace

std::string showNumber(double value) {
    std::array<char, 32> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                   std::chars_format::general, 6);
    return {buffer.data(), end.ptr};
}

std::string showInteger(std::int64_t value) { return std::to_string(value); }

double readNumber(std::string_view text) noexcept {
    text = significant(text);
    if (!startsNumber(text)) return 0.0;
    double value = 0.0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end.ec == std::errc::result_out_of_range) {
        value = magnitudeAboveOne(text.substr(text.starts_with('-') ? 1 : 0))
                    ? std::numeric_limits<double>::max()
                    : 0.0;
        if (text.starts_with('-')) value = -value;
    }
    return value;
}

std::int32_t readInteger(std::string_view text) noexcept { return readWhole<std::int32_t>(text); }

std::uint32_t readUnsigned(std::string_view text) noexcept {
    return readWhole<std::uint32_t>(text);
}

std::int32_t wholePart(double value) noexcept {
    using Limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(value)) return 0;
    return static_cast<std::int32_t>(
        std::clamp(std::trunc(value), double{Limits::min()}, double{Limits::max()}));
}

double stepped(std::string_view text, ScrollStep direction, double step) noexcept {
    return readNumber(text) + static_cast<int>(direction) * step;
}

std::string showStepped(std::string_view text, ScrollStep direction, const SpinRange& range) {
    const double value = stepped(text, direction, range.step);
    if (value < range.lowest) return showLimit(range.lowest);
    if (value > range.highest) return showLimit(range.highest);
    return showNumber(value);
}

}  // namespace vynpack
