// A block that a program runs by itself, without a diagram: placed and checked as a diagram's block
// is, fed and emptied without a copy more than the interface wants.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/diagram/keyword_check.h"
#include "vynhost/interface/placed_block.h"
#include "vynhost/library/include/vynpack/vynhost.h"
#include "vynhost/run/level_intervals.h"

namespace vynhost {

// A data block as the library lends it: `count` values that stay where they are.
vynhost_data dataOf(const ChannelHeader& head, const float* values, std::size_t count);

class RunningBlock {
public:
    // Raises InputError for whatever a diagram's block would be refused for.
    RunningBlock(ModuleHost& host, std::span<const TypeInfo> types, BlockEntry entry);

    const std::string& name() const noexcept { return entry_.name; }
    const std::vector<std::string>& inputs() const noexcept { return inputs_; }
    const std::vector<std::string>& outputs() const noexcept { return outputs_; }
    // "L [dB]" for each quantity in the data blocks of an output.
    std::vector<std::string> quantities(int output);

    // As a diagram writes it; none where it does not read back.
    WrittenValue get(const std::string& keyword);
    // Between runs. On top of what was set before; when it is refused, nothing has changed.
    void set(std::vector<Setting> settings);
    std::string record() { return block_->save(); }

    // --- A run ---
    void start(std::uint32_t wired);
    // Raises InputError for a data block that makes no sense, comes too early, or whose rate the
    // settings do not fit.
    void requireTakable(int input, const vynhost_data& data);
    // The same, and lays a copy at the input.
    void put(int input, const vynhost_data& data);
    // One step of the block: whether anything moved. Raises RunError with the block's own text.
    bool step();
    // What has been put out there; its values stay until the next step or the end of the run.
    std::optional<vynhost_data> take(int output);
    // No more data come: whether the block has been shown the end of a level interval.
    bool finish();
    void stop();
    bool runs() const noexcept { return runs_; }
    std::vector<std::string> waiting() const;

private:
    // Memory that stays locked as long as somebody looks at it.
    struct Held {
        Held(HostMemory& owner, Handle held) : memory(owner), handle(held), view(held) {}
        ~Held();
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

        HostMemory& memory;
        Handle handle;
        std::optional<platform::View> view;
    };

    void place(BlockEntry entry);
    [[noreturn]] void raise();

    ModuleHost& host_;
    std::span<const TypeInfo> types_;
    BlockEntry entry_;
    std::unique_ptr<PlacedBlock> block_;
    std::vector<std::string> inputs_;
    std::vector<std::string> outputs_;
    std::optional<LevelIntervals> intervals_;
    std::array<std::optional<Held>, kMaxConnectors> held_;
    std::uint32_t wired_ = 0;
    int followers_ = 0;  // samples behind the data that the last intervals have been given
    bool runs_ = false;
    bool checkedAtRate_ = false;
};

}  // namespace vynhost
