// What the values at a place of a diagram are: in which unit, and whether they have levels. The
// interface tells little of it (amplitude, power, percent); the rest follows from the recordings
// and from what the blocks are set up to compute.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vynhost/diagram/keyword_table.h"
#include "vynhost/diagram/value_names.h"

namespace vynhost {

// Of units: tables have "Pa^2/Hz" and "20 uPa", pictures "Pa²/Hz" and "20 µPa".
enum class Letters { plain, print };

struct Quantity {
    enum class Scale {
        named,      // by its unit
        fullScale,  // a recording without a unit: 1 is full scale
        ratio,      // of two signals of one unit
        unsaid,     // the unit stands elsewhere, or nobody knows it
    };
    Scale scale = Scale::unsaid;
    std::string unit = {};  // of one factor
    int unitPower = 1;      // how many such factors there are
    int degree = 1;         // 1 an amplitude (20 lg), 2 a power (10 lg), of more factors less
    bool perHertz = false;  // a density
    bool hasLevel = true;   // no sign, no angle, no number of things
    double levelOver = 0;   // above 0: the values are levels already, over this reference

    std::string unitText(Letters letters = Letters::plain) const;
    // Of a value over the reference, which is an amplitude in the factors' unit, in dB.
    double level(double value, double reference) const;
    // The unit of such levels: "dB re 20 uPa", "dB re full scale, uncalibrated".
    std::string levelText(double reference, Letters letters = Letters::plain) const;

    // Multiplied with itself.
    Quantity power(int exponent) const;
    Quantity withoutLevel() const;
    bool operator==(const Quantity&) const = default;
};

// A signal of this unit; without one what 1 stands for is full scale.
Quantity signalQuantity(const std::string& unit);
// Something else than a signal: "s", "°", "%", or a number of things.
Quantity plainQuantity(const std::string& unit);

// What comes out at one place.
struct SignalKind {
    Quantity values;           // named quantities: of the signal that they are of
    std::string xUnit;         // empty where x has none
    bool overClasses = false;  // x runs over classes of values
};

// What a block of this type and these settings puts out under this letter. Where nothing is wired
// to its first or second input, that is an empty kind.
SignalKind outputKind(std::int32_t typeCode, const KeywordValues& values, std::string_view letter,
                      const SignalKind& first, const SignalKind& second);

// Of a named quantity of such a signal.
Quantity valueQuantity(const ValueName& value, const SignalKind& signal);

}  // namespace vynhost
