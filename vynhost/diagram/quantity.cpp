#include "vynhost/diagram/quantity.h"

#include <array>
#include <cmath>
#include <utility>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

using Scale = Quantity::Scale;

// "Pa", "(m/s)": what can be taken to a power or divided.
std::string factor(const std::string& unit) {
    return unit.find_first_of(" */^") == std::string::npos ? unit : "(" + unit + ")";
}

std::string toPower(const std::string& unit, int exponent) {
    return exponent == 1 ? unit : factor(unit) + "^" + std::to_string(exponent);
}

// "20 µPa", "1 V".
std::string withPrefix(double value, const std::string& unit, Letters letters) {
    struct Prefix {
        double factor;
        const char* plain;
        const char* print;
    };
    constexpr std::array<Prefix, 5> kPrefixes = {
        {{1, "", ""}, {1e-3, "m", "m"}, {1e-6, "u", "µ"}, {1e-9, "n", "n"}, {1e-12, "p", "p"}}};
    for (const Prefix& prefix : kPrefixes) {
        // Behind another prefix ("mV") or in a quotient none can stand.
        if (value < prefix.factor * 0.9999999 || (prefix.factor < 1 && factor(unit) != unit)) {
            continue;
        }
        return toText(value / prefix.factor, 6) + " " +
               (letters == Letters::plain ? prefix.plain : prefix.print) + unit;
    }
    return toText(value, 6) + " " + unit;
}

std::string inLetters(std::string text, Letters letters) {
    if (letters == Letters::plain) return text;
    constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kPrint = {
        {{"^2", "²"}, {"^3", "³"}, {"^4", "⁴"}, {"sqrt(Hz)", "√Hz"}, {"*", "·"}}};
    for (const auto& [plain, print] : kPrint) {
        for (std::size_t at = text.find(plain); at != std::string::npos;
             at = text.find(plain, at + print.size())) {
            text.replace(at, plain.size(), print);
        }
    }
    return text;
}

// The values of two signals, multiplied.
Quantity product(const Quantity& left, const Quantity& right) {
    Quantity result;
    result.degree = left.degree + right.degree;
    result.hasLevel = left.hasLevel && right.hasLevel;
    if (left.scale == right.scale && left.unit == right.unit) {
        result.scale = left.scale;
        result.unit = left.unit;
        result.unitPower = left.unitPower + right.unitPower;
    } else if (left.scale == Scale::named && right.scale == Scale::named) {
        result.scale = Scale::named;
        result.unit = factor(left.unitText()) + "*" + factor(right.unitText());
    }
    return result;
}

// What comes out over what goes in.
Quantity quotient(const Quantity& over, const Quantity& under) {
    Quantity result;
    result.hasLevel = over.hasLevel && under.hasLevel;
    if (over.scale == under.scale && over.unitText() == under.unitText()) {
        result.scale = over.scale == Scale::unsaid ? Scale::unsaid : Scale::ratio;
    } else if (over.scale == Scale::named && under.scale == Scale::named) {
        result.scale = Scale::named;
        result.unit = factor(over.unitText()) + "/" + factor(under.unitText());
    }
    return result;
}

// What becomes of a line's amplitude.
Quantity lineQuantity(const KeywordValues& values, std::string_view letter,
                      const Quantity& amplitude) {
    constexpr std::string_view kType = "PkAmplType";
    if (letter == "P") return plainQuantity("°");
    if (letter == "R" || letter == "I") return amplitude.withoutLevel();
    const WrittenValue* type = values.find(kType);
    // A parameter record has set it, and it does not read back: the unit is anyone's guess.
    if (type == nullptr || std::holds_alternative<std::monostate>(*type)) return {};
    if (values.is(kType, "CEPSTRUM")) return plainQuantity("");
    if (values.isAnyOf(kType, {"POWERSPECTRUM", "AUTOSPECTRUM"})) return amplitude.power(2);
    if (!values.is(kType, "PSD")) return amplitude;
    Quantity density = amplitude.power(2);
    density.perHertz = true;
    return density;
}

Quantity twoSignalsQuantity(const KeywordValues& values, std::string_view letter,
                            const Quantity& excitation, const Quantity& response) {
    if (letter == "K") return plainQuantity("");
    // The averaged power is that of the cepstrum.
    if (letter != "P" && values.is("PkAverageSource", "power")) return plainQuantity("");
    return lineQuantity(values, letter,
                        values.is("PkCrossSpectr", "cross spectrum")
                            ? product(excitation, response)
                            : quotient(response, excitation));
}

SignalKind classKind(const KeywordValues& values, const SignalKind& signal) {
    SignalKind kind{plainQuantity(""), signal.values.unitText(), true};
    if (values.is("PkCalcMode", "relative")) {
        kind.values = plainQuantity("%");
    } else if (values.is("PkMethod", "dwell time")) {
        kind.values = plainQuantity(signal.xUnit);
    }
    return kind;
}

}  // namespace

// --- A quantity -----------------------------------------------------------------------------

std::string Quantity::unitText(Letters letters) const {
    if (levelOver > 0) return levelText(levelOver, letters);
    std::string text;
    if (!unit.empty()) {
        text = toPower(unit, unitPower);
    } else if (degree > 1 && scale != Scale::ratio) {
        text = "power";
    } else if (perHertz) {
        text = "1";
    }
    // A density is of a power, whose unit is one factor.
    return inLetters(perHertz ? text + "/Hz" : text, letters);
}

double Quantity::level(double value, double reference) const {
    double full = reference;
    for (int i = 1; i < degree; ++i)
        full *= reference;
    return 20.0 / degree * std::log10(std::abs(value) / full);
}

std::string Quantity::levelText(double reference, Letters letters) const {
    const bool single = unitPower == degree;
    const std::string root = degree == 1   ? "/Hz"
                             : degree == 2 ? "/sqrt(Hz)"
                                           : "/Hz^(1/" + std::to_string(degree) + ")";
    const std::string density = perHertz ? root : "";
    if (scale == Scale::fullScale) {
        const std::string part = reference == 1 ? "" : toText(reference) + " of ";
        return inLetters("dB re " + part + "full scale" + density + ", uncalibrated", letters);
    }
    if (scale == Scale::ratio && reference == 1 && !perHertz) return "dB";
    if (unit.empty()) return inLetters("dB re " + toText(reference) + density, letters);
    if (single) {
        return inLetters("dB re " + withPrefix(reference, factor(unit), letters) + density,
                         letters);
    }
    return inLetters("dB re " + toText(std::pow(reference, degree), 6) + " " + unitText(), letters);
}

Quantity Quantity::power(int exponent) const {
    Quantity result = *this;
    result.unitPower *= exponent;
    result.degree *= exponent;
    return result;
}

Quantity Quantity::withoutLevel() const {
    Quantity result = *this;
    result.hasLevel = false;
    return result;
}

Quantity signalQuantity(const std::string& unit) {
    Quantity result;
    result.scale = unit.empty() ? Scale::fullScale : Scale::named;
    result.unit = unit;
    return result;
}

Quantity plainQuantity(const std::string& unit) {
    Quantity result;
    result.scale = unit.empty() ? Scale::ratio : Scale::named;
    result.unit = unit;
    result.hasLevel = false;
    return result;
}

// --- Along the wires ------------------------------------------------------------------------

SignalKind outputKind(std::int32_t typeCode, const KeywordValues& values, std::string_view letter,
                      const SignalKind& first, const SignalKind& second) {
    switch (typeCode) {
        case kKlassierung: return classKind(values, first);
        case kSpektrum: return {lineQuantity(values, letter, first.values), "Hz"};
        case kDualSpektrum:
            return {twoSignalsQuantity(values, letter, first.values, second.values), "Hz"};
        case kInverseFFT: {
            Quantity signal = first.values;
            signal.hasLevel = true;
            return {signal, "s"};
        }
        default: return first;
    }
}

Quantity valueQuantity(const ValueName& value, const SignalKind& signal) {
    switch (value.of) {
        case ValueOf::signal: return signal.values.withoutLevel();
        case ValueOf::magnitude: return signal.values;
        case ValueOf::sumOfSquares: return signal.values.power(2).withoutLevel();
        case ValueOf::variance: return signal.values.power(2);
        case ValueOf::level: {
            Quantity level = signal.values.withoutLevel();
            level.levelOver = 2e-5;
            return level;
        }
        case ValueOf::x: return plainQuantity(signal.xUnit);
        default: return plainQuantity(value.unit);
    }
}

}  // namespace vynhost
