#include "host/channel_block.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "host/host_messages.h"

namespace vynpack {

bool ChannelBlock::hasRoomFor(std::int64_t values) const noexcept {
    return values >= 0 &&
           memory_.holds(kChannelValuesOffset + static_cast<std::size_t>(values) * sizeof(float));
}

bool ChannelBlock::holdsItsValues() const noexcept {
    return memory_.holds(kChannelValuesOffset) && hasRoomFor(valueCount());
}

bool ChannelBlock::sound() const noexcept {
    return holdsItsValues() && channels() >= 1 &&
           channels() <= std::max(valueCount(), kMostChannelsWithoutSamples);
}

OutputBlock::OutputBlock(SimulationRecord& record, int connector, std::int64_t values,
                         MemoryHandle input)
    : record_(&record), connector_(connector) {
    if (values < 0 || values > std::numeric_limits<std::int32_t>::max()) return;
    const MemoryHandle handle = host_message::newBlock(static_cast<std::int32_t>(values));
    if (handle == MemoryHandle::none) return;
    record.outputData.at(connector) = handle;
    block_ = ChannelBlock(handle);
    if (!block_ || !block_.hasRoomFor(values)) {
        giveBack();
        return;
    }
    size_ = static_cast<std::size_t>(values);
    host_message::copyHeader(input, &block_.header());
}

OutputBlock::OutputBlock(OutputBlock&& other) noexcept
    : block_(std::move(other.block_)),
      record_(std::exchange(other.record_, nullptr)),
      connector_(other.connector_),
      size_(other.size_) {}

OutputBlock& OutputBlock::operator=(OutputBlock&& other) noexcept {
    if (this != &other) {
        giveBack();
        block_ = std::move(other.block_);
        record_ = std::exchange(other.record_, nullptr);
        connector_ = other.connector_;
        size_ = other.size_;
    }
    return *this;
}

void OutputBlock::deliver() noexcept {
    block_.unlock();
    record_ = nullptr;
}

void OutputBlock::giveBack() noexcept {
    block_.unlock();
    if (record_ == nullptr) return;
    host_message::giveBack(std::exchange(record_, nullptr)->outputData.at(connector_));
}

WorkBlock::WorkBlock(std::int64_t values) {
    if (values < 0 || values > std::numeric_limits<std::int32_t>::max()) return;
    handle_ = host_message::newBlock(static_cast<std::int32_t>(values));
    if (handle_ == MemoryHandle::none) return;
    block_ = ChannelBlock(handle_);
    if (!block_ || !block_.hasRoomFor(values)) giveBack();
    size_ = static_cast<std::size_t>(values);
}

void WorkBlock::giveBack() noexcept {
    block_.unlock();
    host_message::giveBack(handle_);
}

void consumeInput(SimulationRecord& record, int connector, ChannelBlock& input) noexcept {
    input.unlock();
    MemoryHandle& slot = record.inputData.at(connector);
    host_message::release(slot);
    slot = MemoryHandle::none;
}

}  // namespace vynpack
