#include "vynhost/diagram/sensitivity.h"

#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

// An electrical value in volts, amperes or coulombs.
struct Electrical {
    double value;
    char unit;
};

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// What the letters before V, A or C multiply by (SI Brochure, table 7); as a power of ten.
std::optional<int> powerOf(std::string_view prefix) {
    constexpr std::array<std::pair<std::string_view, int>, 8> kPrefixes = {
        {{"", 0},
         {"p", -12},
         {"n", -9},
         {"u", -6},
         {"\xC2\xB5", -6},  // the micro sign
         {"\xCE\xBC", -6},  // a Greek letter
         {"m", -3},
         {"k", 3}}};
    for (const auto& [name, power] : kPrefixes) {
        if (prefix == name) return power;
    }
    return std::nullopt;
}

// "50 mV"; nothing for what is no value above 0.
std::optional<Electrical> electrical(std::string_view text) {
    text = trimmed(text);
    const std::size_t begin = text.find_first_not_of("+-.0123456789eE");
    if (begin == std::string_view::npos) return std::nullopt;
    const std::optional<double> number = toNumber(text.substr(0, begin));
    const std::string_view unit = trimmed(text.substr(begin));
    if (!number || !(*number > 0) || unit.empty()) return std::nullopt;
    const char letter = unit.back();
    const std::optional<int> power = powerOf(unit.substr(0, unit.size() - 1));
    if (!power || (letter != 'V' && letter != 'A' && letter != 'C')) return std::nullopt;
    // Divided by, since 50e-3 is not 50 times a thousandth in binary.
    const double value =
        *power < 0 ? *number / std::pow(10.0, -*power) : *number * std::pow(10.0, *power);
    return Electrical{value, letter};
}

std::string_view withoutBrackets(std::string_view unit) {
    if (unit.size() > 2 && unit.starts_with('(') && unit.ends_with(')')) {
        return trimmed(unit.substr(1, unit.size() - 2));
    }
    return unit;
}

}  // namespace

std::variant<FullScale, SensitivityFlaw> fullScaleOf(std::string_view sensitivity,
                                                     std::string_view range) {
    const std::size_t line = sensitivity.find('/');
    const std::string_view unit = line == std::string_view::npos
                                      ? std::string_view()
                                      : withoutBrackets(trimmed(sensitivity.substr(line + 1)));
    const auto perUnit = electrical(sensitivity.substr(0, line));
    if (!perUnit || unit.empty()) {
        return SensitivityFlaw{false, tr("must be volts, amperes or coulombs for one unit of what "
                                         "is measured, like \"50 mV/Pa\"")};
    }
    const auto largest = electrical(range);
    if (!largest) {
        return SensitivityFlaw{true, tr("must be what full scale is at the input, like \"10 V\"")};
    }
    if (largest->unit != perUnit->unit) {
        return SensitivityFlaw{true,
                               tr("is in %1, the sensitivity in %2", largest->unit, perUnit->unit)};
    }
    return FullScale{largest->value / perUnit->value, std::string(unit)};
}

}  // namespace vynhost
