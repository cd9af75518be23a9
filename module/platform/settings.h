// Where the maker's shared directory lies.
#pragma once

#include <optional>
#include <string>

namespace vynpack::platform {

// The directory's text, in UTF-8, as the installer left it (Windows: registry value "OVSHAREDDIR64"
// of HKEY_LOCAL_MACHINE\SOFTWARE\Orvane\Common\Installer; elsewhere: the environment variable of
// that name). Nothing when it is missing.
std::optional<std::string> sharedDirectory();

}  // namespace vynpack::platform
