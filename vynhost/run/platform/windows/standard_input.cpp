#include "vynhost/run/platform/standard_input.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>

namespace vynhost::platform {

std::istream& standardInput() {
    ::_setmode(::_fileno(stdin), _O_BINARY);
    return std::cin;
}

}  // namespace vynhost::platform
