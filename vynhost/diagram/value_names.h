// Names that the interface does not tell: of quantities in data blocks.
#pragma once

#include <string>
#include <vector>

#include "vynhost/interface/placed_block.h"

namespace vynhost {

// What a named quantity is a quantity of.
enum class ValueOf {
    itself,        // in its own unit
    signal,        // a value of the signal or a sum of such, with a sign
    magnitude,     // how large the signal is, never negative
    sumOfSquares,  // of the signal
    variance,      // how large the signal is, squared
    level,         // how large the signal is, in dB over 20 millionths of its unit
    x,             // a place on the x axis
};

struct ValueName {
    std::string name;
    std::string unit = {};  // its own
    ValueOf of = ValueOf::itself;
};

// What the values of an output are called, in the order in which they lie in the data block: value
// q of channel c at q * channels + c. Empty for outputs that carry samples. The block's settings
// count as they are at the call.
std::vector<ValueName> valueNames(PlacedBlock& block, int output);

}  // namespace vynhost
