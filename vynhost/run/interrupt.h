// Ctrl-C: the run ends at its next step and leaves no half-written file behind.
#pragma once

namespace vynhost {

// From now on an interrupt, or the wish to terminate, is noted; the second one ends the program.
void watchInterrupts() noexcept;
// One has come since then, or since this was last asked.
bool interrupted() noexcept;

}  // namespace vynhost
