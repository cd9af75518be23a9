// What is fed to the program, as bytes.
#pragma once

#include <istream>

namespace vynhost::platform {

// Bytes as they come, line ends included.
std::istream& standardInput();

}  // namespace vynhost::platform
