// vynhost list: what the module offers, for people and for programs.
#pragma once

#include <string>

#include "vynhost/interface/module_host.h"

namespace vynhost {

// All creatable types with connectors and keywords.
std::string listAsText(ModuleHost& host);
std::string listAsJson(ModuleHost& host);

}  // namespace vynhost
