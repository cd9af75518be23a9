// vynhost skeleton: a diagram to begin with, which runs as it is.
#pragma once

#include <string>
#include <vector>

#include "vynhost/diagram/catalogue.h"

namespace vynhost {

// The text of a diagram in which noise goes through blocks of these types, one behind the other,
// and what comes out is written. Keywords that are worth a thought are set, the others stand there
// as comments. Spectra are put before blocks that take them. Raises InputError for a type that does
// not fit behind the one before it.
std::string skeletonOf(const std::vector<TypeInfo>& types);

}  // namespace vynhost
