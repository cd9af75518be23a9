// How fast this machine can be asked to compute at all.
#pragma once

namespace vynpack::bench {

// Nanoseconds of processor time per multiplication or addition of doubles, half of each, in full
// registers of the program's level that wait for nothing and are not fused: what no arithmetic of
// the project can be faster than.
double nanosecondsPerOperation();

}  // namespace vynpack::bench
