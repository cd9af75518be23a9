// The stand-ins of the run-time libraries that the tests build beside themselves.
#pragma once

#include <filesystem>

#include "vynhost/interface/platform/system.h"

namespace vynpack::test {

// The folder of one stand-in: <build>/fixtures/<name>.
inline std::filesystem::path fixtureFolder(const char* name) {
    return vynhost::platform::programFolder().parent_path() / "fixtures" / name;
}

}  // namespace vynpack::test
