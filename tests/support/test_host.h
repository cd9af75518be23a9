// A host for tests: remembers the messages, and does wrong what it is told to.
#pragma once

#include "vynhost/validate/faulty_host.h"

namespace vynhost {

using TestHost = FaultyHost;

}  // namespace vynhost
