// What of the module and its library lies where on this machine, and whether it works.
#pragma once

#include <ostream>

namespace vynhost {

// Writes what it finds, one matter a line; the exit code.
int examine(std::ostream& out);

}  // namespace vynhost
