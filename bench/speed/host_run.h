// One block of the module in a run, through the module's exports, under the smallest host that a
// run needs: it hands out the same memory again and again, so that what is measured is the block
// and not an allocator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "candidate.h"
#include "vynhost/interface/module_interface.h"
#include "vynhost/interface/module_library.h"

namespace vynpack::bench {

// The module beside the program, loaded once.
const vynhost::ModuleLibrary& theModule();

class HostRun {
public:
    struct Axis {
        vynhost::AxisKind kind = vynhost::kSeconds;
        std::int32_t unit = 0;
        double step = 1.0 / 48000;
    };

    explicit HostRun(int typeCode);
    ~HostRun();
    HostRun(const HostRun&) = delete;
    HostRun& operator=(const HostRun&) = delete;

    void set(std::string_view keyword, std::int32_t value);
    void set(std::string_view keyword, double value);
    void set(std::string_view keyword, const char* text);
    // Writes a word into the parameter record, for what no keyword sets.
    void patchRecord(std::size_t offset, std::int16_t word);

    // The data blocks that will wait at the connectors, one after the other, in select()'s order.
    void setInputs(const std::vector<std::vector<Aligned<float>>>& ring, std::size_t channels,
                   Axis axis);
    void select(std::size_t block) { at_ = block; }
    // What all hosts have allocated for data blocks so far, in bytes.
    static std::size_t hostBytes() { return hostBytes_; }

    void begin();
    void end();
    // Offers the inputs and calls Simulation until the block has taken them; the outputs are taken
    // away. Throws when the block fails.
    void step(Outputs* outputs);
    // One call with nothing at the inputs.
    void idle();

private:
    // The handle of a data block is the address of its first member.
    struct DataBlock {
        void* memory = nullptr;
        std::size_t capacity = 0;  // in values
        bool input = false;
        Aligned<std::byte> bytes;
        vynhost::ChannelHeader& header() { return *static_cast<vynhost::ChannelHeader*>(memory); }
        std::span<float> values();
    };
    static vynhost::Handle handleOf(DataBlock& block) {
        return vynhost::Handle{reinterpret_cast<std::uint64_t>(&block)};
    }
    static DataBlock& blockOf(vynhost::Handle handle);

    static vynhost::Int answer(std::uint32_t message, vynhost::Int first, vynhost::Int second);
    DataBlock& makeBlock(std::size_t values);
    vynhost::Int giveBlock(std::size_t values);
    void remoteControl(std::string_view keyword, const void* value);
    void takeOutputs(Outputs* outputs);

    static inline HostRun* active_ = nullptr;
    static inline std::size_t hostBytes_ = 0;

    const vynhost::Exports& module_;
    vynhost::Int type_;
    vynhost::Int block_ = 0;
    vynhost::SimulationRecord record_{};
    void* recordAddress_ = &record_;
    std::deque<DataBlock> blocks_;
    std::vector<DataBlock*> free_;
    std::vector<vynhost::Handle> waiting_;  // block by block of the ring, its connectors
    std::size_t connectors_ = 0;
    std::size_t at_ = 0;
};

// Makes the block the job's project, with the job's ring at its connectors, and begins the run.
void attach(Case& job, const std::shared_ptr<HostRun>& run, HostRun::Axis axis);

}  // namespace vynpack::bench
