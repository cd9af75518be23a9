#include "vynhost/run/platform/standard_input.h"

#include <iostream>

namespace vynhost::platform {

std::istream& standardInput() { return std::cin; }

}  // namespace vynhost::platform
