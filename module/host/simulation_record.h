// The record that the host hands to Simulation: what waits at a block's inputs, what it has put
// out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/module_interface.h"
#include "platform/memory.h"

namespace vynpack {

// Byte layout of the host. A data handle of `none` means that nothing waits at an input, or that an
// output is free; a negative channel number means that the connector is not wired.
struct SimulationRecord {
    std::array<MemoryHandle, kMaxConnectors> inputData;
    std::array<std::int32_t, kMaxConnectors> inputChannel;
    std::array<MemoryHandle, kMaxConnectors> outputData;
    std::array<std::int32_t, kMaxConnectors> outputChannel;

    bool inputConnected(int connector) const { return inputChannel.at(connector) >= 0; }
    bool outputConnected(int connector) const { return outputChannel.at(connector) >= 0; }

    // A data block waits at a wired input.
    bool inputWaits(int connector) const {
        return inputConnected(connector) && inputData.at(connector) != MemoryHandle::none;
    }

    // A wired output is free to take the next data block.
    bool outputFree(int connector) const {
        return outputConnected(connector) && outputData.at(connector) == MemoryHandle::none;
    }
};

static_assert(offsetof(SimulationRecord, inputData) == 0);
static_assert(offsetof(SimulationRecord, inputChannel) == 256);
static_assert(offsetof(SimulationRecord, outputData) == 384);
static_assert(offsetof(SimulationRecord, outputChannel) == 640);
static_assert(sizeof(SimulationRecord) == 768);

}  // namespace vynpack
