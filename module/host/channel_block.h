// The channel data block: how the host stores sampled signals and spectra, and scoped access to
// one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "host/module_interface.h"
#include "host/simulation_record.h"
#include "platform/memory.h"

namespace vynpack {

// The fields of the header that the module touches; the rest is the host's.
struct ChannelBlockHeader {
    std::int32_t valueCount;  // over all channels
    std::int32_t xAxisKind;   // AxisKind
    std::int32_t yUnit;       // UnitCode
    std::int32_t hostWord;
    double xStart;          // x of the first sample
    double xStep;           // sample interval, or frequency resolution
    double displayMinimum;  // y axis
    double displaySpan;
    std::int32_t channelCount;  // interleaved channels, at least 1
    std::uint32_t axisFlags;
};

static_assert(offsetof(ChannelBlockHeader, xAxisKind) == 4);
static_assert(offsetof(ChannelBlockHeader, yUnit) == 8);
static_assert(offsetof(ChannelBlockHeader, xStart) == 16);
static_assert(offsetof(ChannelBlockHeader, xStep) == 24);
static_assert(offsetof(ChannelBlockHeader, displayMinimum) == 32);
static_assert(offsetof(ChannelBlockHeader, displaySpan) == 40);
static_assert(offsetof(ChannelBlockHeader, channelCount) == 48);
static_assert(offsetof(ChannelBlockHeader, axisFlags) == 52);

// The values, float32, follow at kChannelValuesOffset: sample i of channel c at c + i *
// channelCount.
static_assert(sizeof(ChannelBlockHeader) <= kChannelValuesOffset);

// More interleaved channels than any recording has: per-channel state is refused beyond, as if
// memory were out.
inline constexpr int kMostChannels = 1'000'000;

// An empty block may still say how many channels its signal has, up to this many.
inline constexpr int kMostChannelsWithoutSamples = 32;

// A locked channel data block. `sound()` must hold before any value is touched, `holdsItsValues()`
// where they are taken as one row.
class ChannelBlock {
public:
    ChannelBlock() = default;
    explicit ChannelBlock(MemoryHandle handle) noexcept : memory_(handle) {}

    explicit operator bool() const noexcept { return static_cast<bool>(memory_); }

    // A count that is not negative, and as many values as the count says (as far as the system
    // knows the size of the memory).
    bool holdsItsValues() const noexcept;
    // The same, and at least one channel, but no count of channels that the values belie: nothing
    // is made per channel for a block that has not a single sample of each.
    bool sound() const noexcept;

    // The memory has room for that many values.
    bool hasRoomFor(std::int64_t values) const noexcept;

    MemoryHandle handle() const noexcept { return memory_.handle(); }
    ChannelBlockHeader& header() const noexcept {
        return *static_cast<ChannelBlockHeader*>(memory_.address());
    }

    int channels() const noexcept { return header().channelCount; }
    int valueCount() const noexcept { return header().valueCount; }
    // A remainder is dropped.
    int samplesPerChannel() const noexcept { return valueCount() / channels(); }

    // All values as the header counts them.
    std::span<float> values() const noexcept {
        return {firstValue(), static_cast<std::size_t>(valueCount())};
    }
    // The first `count` values, whatever the header says (room was asked for them).
    std::span<float> values(std::size_t count) const noexcept { return {firstValue(), count}; }

    void unlock() noexcept { memory_.unlock(); }
    void leaveLocked() noexcept { memory_.leaveLocked(); }

private:
    float* firstValue() const noexcept {
        return reinterpret_cast<float*>(static_cast<std::byte*>(memory_.address()) +
                                        kChannelValuesOffset);
    }

    LockedMemory memory_;
};

// A new block at an output connector. Asks the host for it, notes it in the record, locks it and
// has the host copy the input's header into it. Until `deliver` it is provisional: when it goes out
// of scope before (a later allocation failed, an exception passed), the host gets it back and the
// connector is free again.
class OutputBlock {
public:
    OutputBlock() = default;
    OutputBlock(SimulationRecord& record, int connector, std::int64_t values, MemoryHandle input);
    OutputBlock(OutputBlock&& other) noexcept;
    OutputBlock& operator=(OutputBlock&& other) noexcept;
    ~OutputBlock() { giveBack(); }

    // False when the host refused, or gave memory that cannot hold the values.
    explicit operator bool() const noexcept { return static_cast<bool>(block_); }

    ChannelBlockHeader& header() const noexcept { return block_.header(); }
    std::span<float> values() const noexcept { return block_.values(size_); }

    // Unlocks the block and leaves it to the host.
    void deliver() noexcept;

private:
    void giveBack() noexcept;

    ChannelBlock block_;
    SimulationRecord* record_ = nullptr;
    int connector_ = 0;
    std::size_t size_ = 0;
};

// A block of working numbers: borrowed from the host, locked, and given back at the latest when it
// goes out of scope.
class WorkBlock {
public:
    explicit WorkBlock(std::int64_t values);
    WorkBlock(const WorkBlock&) = delete;
    WorkBlock& operator=(const WorkBlock&) = delete;
    ~WorkBlock() { giveBack(); }

    // False when the host refused, or gave memory that cannot hold the values.
    explicit operator bool() const noexcept { return static_cast<bool>(block_); }

    ChannelBlockHeader& header() const noexcept { return block_.header(); }
    std::span<float> values() const noexcept { return block_.values(size_); }

    void giveBack() noexcept;

private:
    MemoryHandle handle_ = MemoryHandle::none;
    ChannelBlock block_;
    std::size_t size_ = 0;
};

// Unlocks the block, hands it to the host for release and then clears the connector.
void consumeInput(SimulationRecord& record, int connector, ChannelBlock& input) noexcept;

// If a block waits at the wired input: its values through `look`, then the host releases it. Used
// for control and trigger inputs.
template <class Look>
void takeControlInput(SimulationRecord& record, int connector, Look look) {
    if (!record.inputWaits(connector)) return;
    ChannelBlock block(record.inputData.at(connector));
    if (block && block.holdsItsValues()) look(block.values());
    consumeInput(record, connector, block);
}

}  // namespace vynpack
