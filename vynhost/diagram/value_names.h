// Names that the interface does not tell: of quantities in data blocks.
#pragma once

#include <string>
#include <vector>

#include "vynhost/interface/placed_block.h"

namespace vynhost {

struct ValueName {
    std::string name;
    std::string unit;  // empty where it is the signal's own or a mixture
};

// What the values of an output are called, in the order in which they lie in the data block: value
// q of channel c at q * channels + c. Empty for outputs that carry samples. The block's settings
// count as they are at the call.
std::vector<ValueName> valueNames(PlacedBlock& block, int output);

}  // namespace vynhost
