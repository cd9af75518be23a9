// TOBlock: what a block type answers when the host calls the module's exports.
//
// The life of a block:
//  1. The host creates it (new, or to be restored from a parameter file) and gets its handle.
//  2. It configures it: GetParameters shows the dialog, RemoteControl reads and sets keywords,
//     RestoreParameters reads a record. GetConnectors may answer differently afterwards.
//  3. A run starts: InitSim marks the run state stale. It allocates nothing whose size a data
//     block decides.
//  4. Simulation is called whenever data waits at the connected inputs and the connected outputs
//     are free. The first call of a run sizes the run buffers for the data it sees.
//  5. The run ends: Stoppen frees the run buffers and gives back what is still held.
//  6. Steps 2 to 5 repeat. The host deletes the block, possibly in the middle of a run.
//
// All calls come from the host's thread, one at a time. Results are status codes; exceptions may
// leave an operation and are caught at the export's door (kFailed from Simulation).
#pragma once

#include <array>
#include <cstdint>

#include "host/module_interface.h"
#include "host/simulation_record.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace vynpack {

// A connector string: "E,;A," lists input letters before ";" and output letters after it.
using ConnectorText = std::array<char, 256>;
void writeConnectors(ConnectorText& text, const char* connectors) noexcept;

// The value of a trigger input above which a reset is requested, where the block fixes it itself.
inline constexpr float kTriggerLevel = 2.4F;

class TOBlock {
public:
    TOBlock() = default;
    TOBlock(const TOBlock&) = delete;
    TOBlock& operator=(const TOBlock&) = delete;
    virtual ~TOBlock() { status_ = 0; }

    // Writes the connector string that belongs to the parameters. [created]
    virtual void GetConnectors(ConnectorText& text) const = 0;
    // Shows the modal parameter dialog. [created]
    virtual int GetParameters() = 0;
    // Appends the parameter record to the host's file. [created]
    virtual int SaveParameters(FileHandle) { return kDone; }
    // Reads a record; what the file does not hold keeps its value. [created]
    virtual int RestoreParameters(FileHandle) { return kDone; }
    // Handles the data that waits in the locked record. [initialised, running]
    virtual int Simulation(SimulationRecord&) { return kDone; }
    // Starts a run. [created]
    virtual int InitSim() { return kDone; }
    // Ends a run; harmless without one. [any time]
    virtual int Stoppen() { return kDone; }
    // Answers one request of the keyword protocol. [any time]
    virtual int RemoteControl(MemoryHandle /*info*/, MemoryHandle /*value*/,
                              std::uint16_t /*subCode*/) {
        return 0;
    }
    // Shows the error that the run has found, if there is one. [any time]
    virtual int ErrorShow() { return kDone; }

    // Memory ran out in Simulation: blocks that report errors note it. [running]
    virtual void noteOutOfMemory() noexcept {}

protected:
    // Kept: 1 once a record of some block types has been read; the module itself never asks.
    std::int32_t status_ = 0;
    std::int32_t firstBlock_ = 0;  // 1 until a run's first data block has been handled
};

}  // namespace vynpack
