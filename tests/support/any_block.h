// Blocks of any type at work.
#pragma once

#include "vynhost/validate/working_block.h"

namespace vynhost::test {

using vynhost::allTypes;
using vynhost::carriesData;
using vynhost::collect;
using vynhost::feed;
using vynhost::HeadLie;
using vynhost::headLies;
using vynhost::Outputs;
using vynhost::run;
using vynhost::suitableData;
using vynhost::takesSpectra;
using vynhost::WorkingBlock;

}  // namespace vynhost::test
