// The heap as the module and its library see it, made to fail. The allocations of the test program
// and of its host are left alone.
#pragma once

namespace vynhost::test::failing_heap {

// From here on the n-th allocation of the module's and its library's own code (from 1) fails; with
// `forEver` all later ones, too. Both must be loaded.
void failAt(int n, bool forEver);
// Ends it; true when an allocation was refused.
bool stop();

}  // namespace vynhost::test::failing_heap
