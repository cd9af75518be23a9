#include "host/host_messages.h"

#include <algorithm>
#include <utility>

#include "host/TOGlobal.h"
#include "platform/message.h"

namespace vynpack {
namespace {

int connectorCount(HostMessage message, HostContext context) noexcept {
    const std::int64_t count = SendHostMessage(message, context, 0);
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, kMaxConnectors));
}

}  // namespace

std::int64_t SendHostMessage(HostMessage message, std::int64_t first,
                             std::int64_t second) noexcept {
    return platform::sendMessage(theGlobal().hostWindow(), static_cast<std::uint32_t>(message),
                                 first, second);
}

namespace host_message {

int inputCount(HostContext context) noexcept {
    return connectorCount(HostMessage::inputCount, context);
}

int outputCount(HostContext context) noexcept {
    return connectorCount(HostMessage::outputCount, context);
}

MemoryHandle newBlock(std::int32_t values) noexcept {
    return MemoryHandle{
        static_cast<std::uint64_t>(SendHostMessage(HostMessage::newBlock, 0, values))};
}

void copyHeader(MemoryHandle input, ChannelBlockHeader* output) noexcept {
    SendHostMessage(HostMessage::copyHeader, static_cast<std::int64_t>(input),
                    reinterpret_cast<std::int64_t>(output));
}

void release(MemoryHandle block) noexcept {
    SendHostMessage(HostMessage::releaseBlock, static_cast<std::int64_t>(block), 0);
}

void giveBack(MemoryHandle& held) noexcept {
    const MemoryHandle block = std::exchange(held, MemoryHandle::none);
    if (block != MemoryHandle::none) release(block);
}

const float* triggerThreshold() noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<const float*>(SendHostMessage(HostMessage::triggerThreshold, 0, 0));
}

void showHelp() noexcept { SendHostMessage(HostMessage::showHelp, 0, 0); }

}  // namespace host_message
}  // namespace vynpack
