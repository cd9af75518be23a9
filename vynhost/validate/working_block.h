// What a block of any type needs to work: which inputs carry data, data that suits them or lies, a
// run.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "vynhost/interface/placed_block.h"

namespace vynhost {

// The block types, in the order of their codes.
std::vector<int> allTypes();

// A block that puts results out from its first data block on.
class WorkingBlock : public PlacedBlock {
public:
    // Kept: the statistics measure nothing until they are told what.
    WorkingBlock(ModuleHost& host, int typeCode) : PlacedBlock(host, typeCode) {
        if (typeCode == kStatistik) set("PkAllOn", 1);
    }
};

// The input takes signals or spectra, block by block; the others are for control.
bool carriesData(Int typeCode, int input);

// The type takes spectra at its inputs instead of time signals.
bool takesSpectra(Int typeCode);

// Noise, evenly distributed from -1 to 1; the same samples for the same seed, on every system.
std::vector<float> evenNoise(std::size_t count, unsigned seed);

// Data that a block type takes at an input: a time signal of two channels for most, a spectrum for
// those that want one, silence for most control inputs.
ChannelData suitableData(Int typeCode, int input, unsigned seed = 1);

// Heads of data blocks that are no sound ones; the first is.
struct HeadLie {
    const char* name;
    void (*apply)(ChannelHeader&);
};
std::span<const HeadLie> headLies();

// Lays suitable data at every wired input that is free.
void feed(PlacedBlock& block, unsigned seed = 1);

// What lay at the outputs, in their order, up to the last connector of the block.
using Outputs = std::vector<std::optional<ChannelData>>;
Outputs collect(PlacedBlock& block);

// A whole run: InitSim, that many data blocks, Stoppen. What came out, block after block.
std::vector<Outputs> run(PlacedBlock& block, int dataBlocks);

}  // namespace vynhost
