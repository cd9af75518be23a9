// The smallest host that a block can be measured under: it hands out the same output memory again
// and again, so that what is measured is the block and not an allocator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <list>
#include <vector>

#include "host/TOBlock.h"
#include "host/TOGlobal.h"
#include "host/channel_block.h"

namespace vynpack::bench {

// A channel data block behind a master pointer.
class HostBlock {
public:
    explicit HostBlock(std::size_t values)
        : memory_(kChannelValuesOffset + values * sizeof(float) + sizeof(double)),
          master_(memory_.data()) {}
    HostBlock(const HostBlock&) = delete;
    HostBlock& operator=(const HostBlock&) = delete;

    MemoryHandle handle() { return MemoryHandle{reinterpret_cast<std::uint64_t>(&master_)}; }
    ChannelBlockHeader& header() { return *static_cast<ChannelBlockHeader*>(master_); }
    float* values() {
        return reinterpret_cast<float*>(static_cast<std::byte*>(master_) + kChannelValuesOffset);
    }
    std::size_t capacity() const { return (memory_.size() - kChannelValuesOffset) / sizeof(float); }

private:
    std::vector<std::byte> memory_;
    void* master_;
};

// Answers the messages of one block at a time. One instance lives at a time.
class BenchHost {
public:
    BenchHost() {
        active_ = this;
        theGlobal().setHostWindow(HostWindow{reinterpret_cast<std::int64_t>(&answer)});
        if (!theGlobal().analysis().loaded()) theGlobal().start(ModuleInstance::none);
    }
    ~BenchHost() {
        theGlobal().setHostWindow(HostWindow::none);
        active_ = nullptr;
    }
    BenchHost(const BenchHost&) = delete;
    BenchHost& operator=(const BenchHost&) = delete;

    // A time signal of `samples` per channel; sample i of channel c from signal(c, i).
    template <class Signal>
    HostBlock& addInput(int channels, int samples, double step, Signal signal) {
        HostBlock& block = inputs_.emplace_back(static_cast<std::size_t>(channels) * samples);
        block.header() = {};
        block.header().valueCount = channels * samples;
        block.header().channelCount = channels;
        block.header().xAxisKind = kAxisSeconds;
        block.header().xStep = step;
        block.header().displaySpan = 2.0;
        for (int i = 0; i < samples; ++i) {
            for (int c = 0; c < channels; ++c)
                block.values()[c + i * channels] = signal(c, i);
        }
        return block;
    }

    // Runs one Simulation with the inputs waiting and the outputs free; what it delivers is taken
    // away.
    int simulate(TOBlock& block) {
        SimulationRecord record{};
        int connector = 0;
        for (HostBlock& input : inputs_) {
            record.inputData.at(connector) = input.handle();
            ++connector;
        }
        for (int i = connector; i < kMaxConnectors; ++i)
            record.inputChannel.at(i) = -1;
        nextOutput_ = outputs_.begin();
        return block.Simulation(record);
    }
    // The blocks that the last Simulation has asked for.
    std::ptrdiff_t given() { return std::distance(outputs_.begin(), nextOutput_); }

private:
    static std::int64_t answer(std::uint32_t message, std::int64_t first, std::int64_t second) {
        switch (HostMessage{message}) {
            case HostMessage::newBlock: return active_->giveBlock(static_cast<std::size_t>(second));
            case HostMessage::copyHeader:
                // NOLINTNEXTLINE(performance-no-int-to-ptr)
                std::memcpy(reinterpret_cast<void*>(second), *reinterpret_cast<void**>(first),
                            kChannelValuesOffset);
                return 0;
            default: return 0;
        }
    }

    std::int64_t giveBlock(std::size_t values) {
        while (nextOutput_ != outputs_.end() && nextOutput_->capacity() < values) {
            nextOutput_ = outputs_.erase(nextOutput_);
        }
        if (nextOutput_ == outputs_.end()) nextOutput_ = outputs_.emplace(nextOutput_, values);
        return static_cast<std::int64_t>((nextOutput_++)->handle());
    }

    static inline BenchHost* active_ = nullptr;
    std::list<HostBlock> inputs_;
    std::list<HostBlock> outputs_;
    std::list<HostBlock>::iterator nextOutput_ = outputs_.begin();
};

}  // namespace vynpack::bench
