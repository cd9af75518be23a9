// What the module asks of the host, one named function per message. All are sent synchronously to
// the window that the host gave at set-up; without a window every answer is 0. [any time]
#pragma once

#include <cstdint>

#include "host/module_interface.h"
#include "platform/memory.h"

namespace vynpack {

struct ChannelBlockHeader;

// The host's own value, passed back to it and otherwise only compared with zero.
using HostContext = std::int64_t;

std::int64_t SendHostMessage(HostMessage message, std::int64_t first, std::int64_t second) noexcept;

namespace host_message {

// Connectors of the block being simulated, as the host counts them, limited to what its record
// holds.
int inputCount(HostContext context) noexcept;
int outputCount(HostContext context) noexcept;

// A newly allocated channel data block with room for `values` values; the module owes it to the
// host, through the record or through `release`. `none` when the host refuses.
MemoryHandle newBlock(std::int32_t values) noexcept;

// The host copies the header of `input` into a locked new block.
void copyHeader(MemoryHandle input, ChannelBlockHeader* output) noexcept;

// The host takes a channel data block back.
void release(MemoryHandle block) noexcept;

// The same for a block that may be held or not; nothing is held afterwards.
void giveBack(MemoryHandle& held) noexcept;

// The level above which a trigger input counts as high; null when the host has none.
const float* triggerThreshold() noexcept;

// The host shows its help.
void showHelp() noexcept;

}  // namespace host_message
}  // namespace vynpack
