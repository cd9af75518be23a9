#include "host/host_messages.h"

#include <algorithm>

#include "host/TOGlobal.h"
#include "host/simulation_record.h"
#include "platform/message.h"

namespace vynpack {
namespace {

enum HostMessage : std::uint32_t {
    kTriggerThreshold = 1130,
    kNewBlock = 1134,
    kReleaseBlock = 1135,
    kCopyHeader = 1143,
    kShowHelp = 1153,
    kInputCount = 1188,
    kOutputCount = 1189,
};

int connectorCount(HostMessage message, HostContext context) noexcept {
    const std::int64_t count = SendHostMessage(message, context, 0);
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, kMaxConnectors));
}

}  // namespace

std::int64_t SendHostMessage(std::uint32_t message, std::int64_t first,
                             std::int64_t second) noexcept {
    return platform::sendMessage(theGlobal().hostWindow(), message, first, second);
}

namespace host_message {

int inputCount(HostContext context) noexcept { return connectorCount(kInputCount, context); }

int outputCount(HostContext context) noexcept { return connectorCount(kOutputCount, context); }

MemoryHandle newBlock(std::int32_t values) noexcept {
    return MemoryHandle{static_cast<std::uint64_t>(SendHostMessage(kNewBlock, 0, values))};
}

void copyHeader(MemoryHandle input, ChannelBlockHeader* output) noexcept {
    SendHostMessage(kCopyHeader, static_cast<std::int64_t>(input),
                    reinterpret_cast<std::int64_t>(output));
}

void release(MemoryHandle block) noexcept {
    SendHostMessage(kReleaseBlock, static_cast<std::int64_t>(block), 0);
}

const float* triggerThreshold() noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<const float*>(SendHostMessage(kTriggerThreshold, 0, 0));
}

void showHelp() noexcept { SendHostMessage(kShowHelp, 0, 0); }

}  // namespace host_message
}  // namespace vynpack
